"""Camera configurations for the GenSize reference test.

A dual 12 MP module (4000x3000 pixel arrays): a 77 degree main camera and a
100 degree auxiliary camera, 12 mm baseline, 4.5 mm focal length, 1.12 um
pixels, in the binned 2000x1500 mode unless a case says otherwise.
"""

from gensize_model import INIT_IN, PROC_IN, Rec

SAT, VELMO = 1, 2


def crop_word(feature, crop_mode):
    return feature | (crop_mode << 16)


def sensor(fov, **kw):
    s = dict(fov_w=fov[0], fov_h=fov[1], pixel_array_width=4000, pixel_array_height=3000,
             sensor_offset_x0=0, sensor_offset_y0=0, sensor_size_w0=4000, sensor_size_h0=3000,
             sensor_scale_w=2000, sensor_scale_h=1500, sensor_offset_x1=0, sensor_offset_y1=0,
             tg_offset_x=0, tg_offset_y=0, mode_2px_en=0, isOISon=0, oisHeight=0, oisWidth=0)
    s.update(kw)
    return s


FULL_RES = dict(sensor_scale_w=4000, sensor_scale_h=3000)
# 16:9 sensor mode: 4000x2250 rows 375..2624, binned to 2000x1126, 16-pixel TG crop.
BINNED_16X9 = dict(sensor_offset_y0=375, sensor_size_h0=2250, sensor_scale_h=1126,
                   tg_offset_x=16, tg_offset_y=8)


def config(main=None, auxi=None, **kw):
    """Default: Velmo, 16:9 RRZ output, 640x360 depth, horizontal module."""
    c = dict(feature_mode=VELMO, ai_depth_enable=0, ai_depth_temporal_enable=0,
             rrz_output_main_w=1920, rrz_output_main_h=1080, p1_fe_main_w=1280, p1_fe_main_h=720,
             dpe_w=640, dpe_h=360, dpe_w_rot=360, dpe_h_rot=640, ai_tracking_w=0, ai_tracking_h=0,
             module_layout=0, module_orient=0, flow_rotate_type=0, enable_gpu=0,
             only_crop_ratio=0, has_mdp=0, module_angle=0.0, module_variation=0.0,
             focal_length=4.5, baseline=12.0, cell_size=1.12, dpe_cand_num=32, dpe_dv_lsb_sft=0,
             align_wpe_in_w=64, align_wpe_out_w=16, align_dpe_in_w=16, align_dpe_out_w=64,
             align_ai_depth_in_w=128, align_ai_depth_in_h=16, align_gpu_in_w=128,
             align_gpu_in_h=4, align_fe_in_w=16, align_fe_in_h=16)
    c.update(kw)
    rec = Rec(INIT_IN)
    for name, value in c.items():
        setattr(rec, name, value)
    for name, s in (("sensor_main", sensor((77.0, 61.6), **(main or {}))),
                    ("sensor_auxi", sensor((100.0, 83.6), **(auxi or {})))):
        for f, v in s.items():
            setattr(getattr(rec, name), f, v)
    return rec


class Case:
    def __init__(self, name, inp, what, proc_in=None):
        self.name, self.inp, self.what, self.proc_in = name, inp, what, proc_in


def init_cases():
    C = Case
    return [
        C("velmo_h_16x9", config(), "default Velmo module, class 1, hand-checked"),
        C("velmo_h_4x3", config(rrz_output_main_w=1600, rrz_output_main_h=1200, dpe_w=640,
                                dpe_h=480), "4:3 output, class 0"),
        C("velmo_h_20x9", config(rrz_output_main_w=2400, rrz_output_main_h=1080, dpe_w=768,
                                 dpe_h=344), "20:9 output, class 2"),
        C("velmo_h_20x9_var3", config(rrz_output_main_w=2400, rrz_output_main_h=1080, dpe_w=768,
                                      dpe_h=344, module_variation=3.0),
          "3 degree variation widens the auxiliary FE past 1280: fitting rounds"),
        C("velmo_h_2to1", config(rrz_output_main_w=2160, rrz_output_main_h=1080),
          "ratio exactly 2.0 stays class 1"),
        C("sat_h_16x9", config(feature_mode=crop_word(SAT, 1), auxi=dict(mode_2px_en=1),
                               dpe_w=100, dpe_h=100),
          "SAT: depth from p1_fe_main (640x360), auxiliary 2px mode ignored"),
        C("sat_h_4x3_binned_crop", config(feature_mode=crop_word(SAT, 1),
                                          rrz_output_main_w=1440, rrz_output_main_h=1080,
                                          p1_fe_main_w=1440, p1_fe_main_h=1080,
                                          main=BINNED_16X9, auxi=BINNED_16X9),
          "SAT, 16:9 sensor mode with TG crop under a 4:3 output: usage height clamps"),
        C("velmo_v_rot90", config(module_orient=1, flow_rotate_type=0, dpe_w=384, dpe_h=640),
          "vertical module, flow rotated 90"),
        C("velmo_v_rot270", config(module_orient=1, flow_rotate_type=1, dpe_w=384, dpe_h=640),
          "vertical module, flow rotated 270"),
        C("velmo_v_flow2", config(module_orient=1, flow_rotate_type=2, dpe_w=384, dpe_h=640),
          "flow_rotate_type 2: 90 for the rotate type, 270 for the warp angle"),
        C("velmo_v_has_mdp", config(module_orient=1, flow_rotate_type=1, has_mdp=1, dpe_w=384,
                                    dpe_h=640), "vertical module with MDP: no rotate type, "
                                                "auxiliary depth input not swapped"),
        C("velmo_orient2", config(module_orient=2, dpe_w=384, dpe_h=640),
          "module_orient 2: swaps where non-zero is tested, not where 1 is"),
        C("velmo_slanted_10", config(module_angle=10.0, module_variation=1.0),
          "slanted module 10 degrees"),
        C("velmo_slanted_0p9", config(module_angle=0.9, module_variation=0.5, align_wpe_in_w=16),
          "0.9 degrees is not slanted; no-rotation sizes follow the rotated ones"),
        C("velmo_slanted_m1", config(module_angle=-1.0, align_wpe_in_w=16),
          "-1 degree is slanted"),
        C("velmo_ois_main", config(main=dict(isOISon=1)), "main OIS: +64 margin, 28 grids"),
        C("velmo_ois_both_v", config(main=dict(isOISon=1), auxi=dict(isOISon=1),
                                     module_orient=1, dpe_w=384, dpe_h=640),
          "OIS on both cameras, vertical module"),
        C("velmo_ois_main_2", config(main=dict(isOISon=2)),
          "isOISon 2: 28 FE grids but no margin and a 4 warp grid"),
        C("velmo_2px_main_20x9", config(rrz_output_main_w=2400, rrz_output_main_h=1080,
                                        dpe_w=768, dpe_h=344, main=dict(mode_2px_en=1)),
          "two-pixel main under a 20:9 output: FE shrinks to fit half the usage"),
        C("velmo_2px_v_20x9", config(rrz_output_main_w=2400, rrz_output_main_h=1080,
                                     module_orient=1, dpe_w=384, dpe_h=768,
                                     main=dict(mode_2px_en=1)),
          "two-pixel main, vertical module: the oriented FE height limits the fit"),
        C("velmo_2px_both", config(main=dict(mode_2px_en=1), auxi=dict(mode_2px_en=1)),
          "two-pixel mode on both cameras"),
        C("velmo_ai_temporal", config(ai_depth_enable=1, ai_depth_temporal_enable=1, dpe_w=704,
                                      dpe_h=396), "AI depth with temporal: motion map"),
        C("velmo_ai_only", config(ai_depth_enable=1, dpe_w=704, dpe_h=396),
          "AI depth without temporal"),
        C("velmo_gpu", config(enable_gpu=1, align_gpu_in_w=128, align_gpu_in_h=4),
          "GPU warp alignments"),
        C("velmo_gpu_v", config(enable_gpu=1, module_orient=1, dpe_w=384, dpe_h=640,
                                align_gpu_in_w=64, align_gpu_in_h=16),
          "GPU alignments, vertical module"),
        C("velmo_only_crop_ratio", config(only_crop_ratio=1), "auxiliary keeps its usable width"),
        C("velmo_full_res", config(main=FULL_RES, auxi=FULL_RES, dpe_w=1152, dpe_h=648,
                                   dpe_cand_num=64, dpe_dv_lsb_sft=1),
          "full-resolution mode, 64 padding, 8 sub-steps, three disparity pads"),
        C("velmo_odd_usable", config(main=dict(sensor_scale_w=2005, pixel_array_width=4010,
                                               sensor_size_w0=4010)),
          "odd main usable width: unsigned offset wraps"),
        C("velmo_dpe_unaligned", config(dpe_w=600, dpe_h=338),
          "depth width off the WPE alignment: warning only"),
        C("velmo_tracking_ok", config(ai_tracking_w=320, ai_tracking_h=180),
          "AI tracking ratios both high"),
        C("velmo_has_mdp_m1", config(has_mdp=-1), "call marked as per-frame: no enlargement"),
        C("trap_auxi_fov_200", config(auxi=dict(fov_w=200.0)),
          "a 200 degree FOV makes tangents negative: sizes convert to 0, FE fits to 0x0"),
        C("trap_angle_nan", config(module_angle=float("nan"), align_wpe_in_w=16),
          "NaN angle: not slanted, rotated depth size 0"),
        C("trap_zero_align", config(align_dpe_out_w=0, enable_gpu=1, align_gpu_in_w=0,
                                    align_gpu_in_h=0), "zero alignments give 0, never trap"),
        C("fail3_slanted_align", config(module_angle=0.9),
          "code 3: 0.9 degrees rotates 640 to 656, not a multiple of 64"),
        C("fail4_frame_width", config(dpe_w=4032, dpe_h=3024, dpe_cand_num=64),
          "code 4: frame 4160 wide"),
        C("fail4_temporal", config(dpe_w=4032, dpe_h=3024, ai_depth_enable=1,
                                   ai_depth_temporal_enable=1),
          "code 4 with temporal: motion map from the rejected frame"),
        C("fail5_tracking", config(ai_tracking_w=320, ai_tracking_h=640),
          "code 5: ratios 2.0 and 0.5625 in different bands"),
        C("fail5_temporal", config(ai_tracking_w=320, ai_tracking_h=640, ai_depth_enable=1,
                                   ai_depth_temporal_enable=1, dpe_w=704, dpe_h=396),
          "code 5 with temporal: motion map from the caller's frame fields"),
    ]


def p1_rrz(in_w, in_h, offset_x, offset_y, usage_w, usage_h, out_w, out_h):
    return dict(in_w=in_w, in_h=in_h, offset_x=offset_x, offset_y=offset_y, usage_w=usage_w,
                usage_h=usage_h, out_w=out_w, out_h=out_h, p1_fe_w=640, p1_fe_h=360,
                p1_depth_w=320, p1_depth_h=180)


def frame(zoom, p1_main, p1_auxi):
    rec = Rec(PROC_IN)
    rec.zoom_ratio = zoom
    for name, values in (("p1_main", p1_main), ("p1_auxi", p1_auxi)):
        for f, v in values.items():
            setattr(getattr(rec, name), f, v)
    return rec


# P1 crops of the default binned module at zoom 1: the main feeds its whole
# 2000x1126 16:9 window; the auxiliary crop is the configured 1424x802 window.
MAIN_ZOOM1 = p1_rrz(2000, 1500, 0, 187, 2000, 1126, 1920, 1080)
AUXI_ZOOM1 = p1_rrz(2000, 1500, 288, 349, 1424, 802, 1920, 1080)
# Main zoomed 2x by the P1 crop.
MAIN_ZOOM2 = p1_rrz(2000, 1500, 500, 469, 1000, 562, 1920, 1080)


def proc_cases():
    C = Case
    sat1 = config(feature_mode=crop_word(SAT, 1))
    full = dict(main=FULL_RES, auxi=FULL_RES)
    return [
        C("sat_crop1_zoom1", sat1, "SAT crop mode 1, frame at zoom 1",
          frame(1.0, MAIN_ZOOM1, AUXI_ZOOM1)),
        C("sat_crop1_zoom2", sat1, "SAT crop mode 1, main cropped 2x",
          frame(2.0, MAIN_ZOOM2, AUXI_ZOOM1)),
        C("sat_crop1_check1", sat1, "auxiliary P1 crop 1 pixel narrower: check 1",
          frame(1.0, MAIN_ZOOM1, dict(AUXI_ZOOM1, usage_w=1423))),
        C("sat_crop1_check2", sat1, "1436/1424*1424 rounds above 1436 in float: check 2",
          frame(1.0, MAIN_ZOOM1, dict(AUXI_ZOOM1, out_w=1436, out_h=808))),
        C("sat_crop1_check1_3", sat1, "shorter but wider than the input: checks 1 and 3",
          frame(1.0, MAIN_ZOOM1, dict(AUXI_ZOOM1, usage_w=2008, usage_h=800))),
        C("sat_crop1_check3_odd", config(feature_mode=crop_word(SAT, 1), only_crop_ratio=1,
                                         auxi=dict(sensor_scale_w=2005, pixel_array_width=4010,
                                                   sensor_size_w0=4010)),
          "odd auxiliary usable width: configured usage wider than input, check 3",
          frame(1.0, MAIN_ZOOM1, p1_rrz(2005, 1500, 0, 185, 2006, 1130, 1920, 1080))),
        C("sat_crop0", config(feature_mode=crop_word(SAT, 0)), "SAT crop mode 0: windows untouched",
          frame(1.0, MAIN_ZOOM1, AUXI_ZOOM1)),
        C("sat_crop2", config(feature_mode=crop_word(SAT, 2)), "SAT crop mode 2: configured windows",
          frame(2.0, MAIN_ZOOM2, AUXI_ZOOM1)),
        C("sat_crop3", config(feature_mode=crop_word(SAT, 3)), "SAT crop mode 3: windows untouched",
          frame(1.0, MAIN_ZOOM1, AUXI_ZOOM1)),
        C("sat_word0", config(feature_mode=0), "feature word 0: SAT with crop mode 1",
          frame(1.0, MAIN_ZOOM1, AUXI_ZOOM1)),
        C("sat_ois_2px_v", config(feature_mode=crop_word(SAT, 1), module_orient=1,
                                  flow_rotate_type=1, main=dict(isOISon=1, mode_2px_en=1)),
          "SAT crop mode 1, vertical module, main OIS and 2px",
          frame(1.0, MAIN_ZOOM1, AUXI_ZOOM1)),
        C("velmo_crop2_zoom1", config(feature_mode=crop_word(VELMO, 2), **full),
          "Velmo crop mode 2 at zoom 1.0", frame(1.0, MAIN_ZOOM1, AUXI_ZOOM1)),
        C("velmo_crop2_zoom1_eps", config(feature_mode=crop_word(VELMO, 2), **full),
          "zoom within 1e-5 of 1", frame(1.000005, MAIN_ZOOM1, AUXI_ZOOM1)),
        C("velmo_crop2_zoom2", config(feature_mode=crop_word(VELMO, 2), **full),
          "Velmo zoom 2.0, below the constraint", frame(2.0, MAIN_ZOOM1, AUXI_ZOOM1)),
        C("velmo_crop2_zoom_max", config(feature_mode=crop_word(VELMO, 2), **full),
          "Velmo zoom 6.0, clamped to the constraint", frame(6.0, MAIN_ZOOM1, AUXI_ZOOM1)),
        C("velmo_crop2_zoom_0p8", config(feature_mode=crop_word(VELMO, 2), **full),
          "Velmo zoom 0.8: window grows past the input, offsets wrap",
          frame(0.8, MAIN_ZOOM1, AUXI_ZOOM1)),
        C("velmo_crop2_zoom_v", config(feature_mode=crop_word(VELMO, 2), module_orient=1,
                                       dpe_w=384, dpe_h=640, **full),
          "Velmo zoom 1.5, vertical module", frame(1.5, MAIN_ZOOM1, AUXI_ZOOM1)),
        C("velmo_crop2_zoom_nan", config(feature_mode=crop_word(VELMO, 2), **full),
          "NaN zoom is no zoom", frame(float("nan"), MAIN_ZOOM1, AUXI_ZOOM1)),
        C("velmo_crop2_zoom0", config(feature_mode=crop_word(VELMO, 2), **full),
          "zoom 0: windows saturate", frame(0.0, MAIN_ZOOM1, AUXI_ZOOM1)),
        C("velmo_crop0", config(feature_mode=crop_word(VELMO, 0)), "Velmo crop mode 0",
          frame(1.0, MAIN_ZOOM1, AUXI_ZOOM1)),
        C("velmo_crop1", config(feature_mode=crop_word(VELMO, 1)), "Velmo crop mode 1",
          frame(2.0, MAIN_ZOOM2, AUXI_ZOOM1)),
        C("velmo_angle90", config(feature_mode=crop_word(VELMO, 2), module_angle=90.0,
                                  auxi=dict(isOISon=1)),
          "module_angle 90: grids swapped except the sub warp grid",
          frame(1.0, MAIN_ZOOM1, AUXI_ZOOM1)),
        C("velmo_angle270_ois", config(feature_mode=crop_word(VELMO, 2), module_angle=270.0,
                                       main=dict(isOISon=1)),
          "module_angle 270 with main OIS", frame(1.0, MAIN_ZOOM1, AUXI_ZOOM1)),
        C("unsupported_word", config(feature_mode=crop_word(3, 1)),
          "feature bits 3: unsupported, tail from an all-zero result",
          frame(1.0, MAIN_ZOOM1, AUXI_ZOOM1)),
        C("unsupported_word_bits0", config(feature_mode=crop_word(0, 2)),
          "feature bits 0 with a crop mode: unsupported", frame(1.0, MAIN_ZOOM1, AUXI_ZOOM1)),
        C("sat_fail5", config(feature_mode=crop_word(SAT, 1), ai_tracking_w=320,
                              ai_tracking_h=640),
          "SAT init failure: code returned, output untouched", frame(1.0, MAIN_ZOOM1, AUXI_ZOOM1)),
        C("velmo_fail4", config(feature_mode=crop_word(VELMO, 2), dpe_w=4032, dpe_h=3024,
                                dpe_cand_num=64),
          "Velmo init failure", frame(1.0, MAIN_ZOOM1, AUXI_ZOOM1)),
    ]
