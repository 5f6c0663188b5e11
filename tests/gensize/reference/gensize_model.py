"""Independent reference model of GenSizeInit / GenSizeProc, written from the
documented behaviour only (never from the C++ sources), to produce exact
expected records for GenSizeReferenceTest.

Arithmetic is emulated bit for bit:
  * single precision with numpy.float32 (F32), double precision with Python floats;
  * integer fields hold unsigned 32-bit patterns (0 .. 2**32-1); signed
    readings go through s32();
  * float -> integer conversions follow 64-bit Arm (truncate, saturate, NaN -> 0,
    negatives -> 0 for unsigned): to_u32 / to_i32;
  * double trig comes from the C library (math.sin/cos/tan/atan); the library's
    float tangent is float32(tan(float64(x))).

Run with Debian's /usr/bin/python3 (it has numpy).

Hand check of the default Velmo case "velmo_h_16x9" (cases.py), kept here so
the model itself is checked against an independent pencil derivation:
  main mode 4000x3000 binned to 2000x1500, no crops: usable 2000x1500;
  rrz out 1920x1080 -> ratio 1.778, class 1, FE 960x540 rot 1184.
  main RRZ: usage_w = ceil2(2000) = 2000, usage_h = ceil2(2000*1080/1920 = 1125)
    = 1126 <= 1500, offset (0, (1500-1126)>>1 = 187).
  main zoom_maximum = min(2000/960, 1126/540) = min(2.0833, 2.0852) = 2.0833334.
  depth 640x360, align_wpe_in_w 64: W = 640, angle 0 -> rot 640x360,
    align_dpe_in_w 16 -> noc 640x360; no OIS -> frame 640 + 2*32 = 704 x 360,
    noc_buf_w = 64*ceil(640/64) = 640; dv_w = (640 + 32*ceil(640/544)=64) >> 1
    = 352, dv_buf_w = 352, dv_h = 180; aux grid = 32*round(352/32) = 352,
    32*ceil(180/32) = 192.
  pixel size p = 1.12 / (2000/4000) * 4000 / 640 = 14; fb = 4.5*12*10000/14*16
    = 617142.86; working_range = fb/253 = 2439.30 mm.
  half-angles: main a_w = 77/2 = 38.5 deg (whole array used); auxi 50 deg.
    k = (tan 38.5 + 12/2439.30) / tan 50 = (0.795436 + 0.004920)/1.191754
      = 0.671578 < 1 -> auxi crop_flag 1;
    r = tan 50 * k / tan 38.5 = 1.006185; aux_w = 64*ceil(960*1.006188/64 = 15.09)
      = 1024; q = 1024/960 = 1.066667; aux_h = 4*ceil(540/960*1024/4 = 144) = 576.
    c = k*q/r = 0.711947; aux usage_w = ceil2(0.711947*2000 = 1423.9) = 1424,
      usage_h = ceil2(1424*1080/1920 = 801) = 802; offset ((2000-1424)/2,
      (1500-802)/2) = (288, 349).
    fitting: 1024 <= 1424, 576 <= 802, 960 <= 2000, 1024 <= 1280, 540 <= 1126:
      accepted at once.
    auxi zoom_maximum = min(1424/1024, 802/576) = min(1.390625, 1.392361) = 1.390625
      = zoom_constraint.
    auxi rect: 64*round(1.066667*640/64 = 10.67) = 704, 2*round(360/640*704/2
      = 198) = 396; + align_wpe_in_w (not from GenSizeProc) -> 768 x 460.
The model reproduces every one of these numbers (see selfcheck() below).
"""

import math
import sys

import numpy as np

sys.dont_write_bytecode = True  # test tooling: keep the source tree clean

np.seterr(all="ignore")

F32 = np.float32
MASK = 0xFFFFFFFF
DEG = 0.01745329  # the library's degree-to-radian factor, in double


# ---------------------------------------------------------------- numerics --

def u32(v):
    return int(v) & MASK


def s32(v):
    v = u32(v)
    return v - (1 << 32) if v & 0x80000000 else v


def uf(v):
    """Unsigned 32-bit size converted to float."""
    return F32(float(u32(v)))


def to_u32(v):
    v = float(v)
    if not (v > -1.0):
        return 0
    if v >= 4294967296.0:
        return MASK
    return int(v)


def to_i32(v):
    v = float(v)
    if v != v:
        return 0
    if v >= 2147483648.0:
        return 0x7FFFFFFF
    if v <= -2147483648.0:
        return 0x80000000
    return u32(int(v))


def sdiv2(v):
    """Signed 32-bit value divided by 2, truncating toward zero."""
    v = s32(v)
    return int(v / 2) if v >= 0 else -((-v) // 2)


def std_min(a, b):
    return b if b < a else a


def std_max(a, b):
    return b if a < b else a


def ceilf(x):
    return np.ceil(F32(x))


def floorf(x):
    return np.floor(F32(x))


def roundf(x):
    """Round half away from zero; exact for float32 arguments."""
    x = float(x)
    if not math.isfinite(x):
        return F32(x)
    t = float(math.trunc(x))
    if abs(x - t) >= 0.5:
        t += math.copysign(1.0, x)
    return F32(t)


def align_up(v, n):
    """n x ceil(v / n) in single precision."""
    return to_u32(uf(n) * ceilf(uf(v) / uf(n)))


def ceil2(x):
    return to_u32(F32(2) * ceilf(F32(x) * F32(0.5)))


def align_down64(v):
    return to_u32(floorf(uf(v) / F32(64)) * F32(64))


def ddiv(a, b):
    """IEEE double division (Python raises on a zero divisor)."""
    return float(np.float64(a) / np.float64(b))


def dtan(x):
    return math.tan(x) if math.isfinite(x) else math.nan


def tanf(x):
    return F32(dtan(float(F32(x))))


# ------------------------------------------------------------------ records --

SENSOR = [("fov_w", "f"), ("fov_h", "f")] + [(n, "i") for n in (
    "pixel_array_width", "pixel_array_height", "sensor_offset_x0", "sensor_offset_y0",
    "sensor_size_w0", "sensor_size_h0", "sensor_scale_w", "sensor_scale_h",
    "sensor_offset_x1", "sensor_offset_y1", "tg_offset_x", "tg_offset_y",
    "mode_2px_en", "isOISon", "oisHeight", "oisWidth")]

INIT_IN = [("sensor_main", SENSOR), ("sensor_auxi", SENSOR)] + [(n, "i") for n in (
    "feature_mode", "ai_depth_enable", "ai_depth_temporal_enable", "rrz_output_main_w",
    "rrz_output_main_h", "p1_fe_main_w", "p1_fe_main_h", "dpe_w", "dpe_h", "dpe_w_rot",
    "dpe_h_rot", "ai_tracking_w", "ai_tracking_h", "module_layout", "module_orient",
    "flow_rotate_type", "enable_gpu", "only_crop_ratio", "has_mdp")] + [(n, "f") for n in (
    "module_angle", "module_variation", "focal_length", "baseline", "cell_size")] + [
    (n, "i") for n in (
        "dpe_cand_num", "dpe_dv_lsb_sft", "align_wpe_in_w", "align_wpe_out_w", "align_dpe_in_w",
        "align_dpe_out_w", "align_ai_depth_in_w", "align_ai_depth_in_h", "align_gpu_in_w",
        "align_gpu_in_h", "align_fe_in_w", "align_fe_in_h")]

RRZ = [(n, "i") for n in ("in_w", "in_h", "offset_x", "offset_y", "usage_w", "usage_h",
                          "out_w", "out_h", "p1_fe_w", "p1_fe_h", "p1_depth_w", "p1_depth_h")]
P1 = [(n, "i") for n in ("depth_w", "depth_h", "fe_w", "fe_h")]
FE = [(n, "i") for n in ("in_w", "in_h", "offset_x", "offset_y", "usage_w", "usage_h",
                         "rot_w", "rot_h", "grid_w", "grid_h")]
WPE_TRAW = [(n, "i") for n in (
    "in_w", "in_h", "resize_w", "resize_h", "crop_x", "crop_y", "crop_w", "crop_h", "rot_w",
    "rot_h", "wpe_grid_in_w", "wpe_grid_in_h", "wpe_grid_w", "wpe_grid_h")] + [
    ("module_angle", "f")]
N3D = [("zoom_maximum", "f"), ("crop_flag", "i"), ("rect_in_w", "i"), ("rect_in_h", "i"),
       ("rrz", RRZ), ("p1", P1), ("fe_b", FE), ("fe_c", FE), ("wpe_traw_setting", WPE_TRAW)] + [
    (n, "i") for n in ("wpe_grid_in_w", "wpe_grid_in_h", "wpe_grid_w", "wpe_grid_h",
                       "wpe_img_rotate_type")]
DPE = [(n, "i") for n in (
    "dpe_frm_w", "dpe_frm_h", "dpe_noc_w", "dpe_noc_h", "dpe_noc_w_no_rot", "dpe_noc_h_no_rot",
    "dpe_noc_buf_w", "dpe_noc_buf_h", "dpe_dv_w", "dpe_dv_h", "dpe_dv_buf_w", "dpe_dv_buf_h",
    "dpe_padding")] + [("working_range_to_disp", "f")]
ME = [("mmap_w", "i"), ("mmap_h", "i")]
INIT_OUT = [("main", N3D), ("auxi", N3D), ("dpe", DPE), ("me", ME),
            ("zoom_constraint", "f"), ("slanted_en", "i"), ("working_range", "f")]
TRAW_RZ = [(n, "i") for n in ("in_w", "in_h", "offset_x", "offset_y", "usage_w", "usage_h",
                              "out_w", "out_h")]
PROC_IN = [("zoom_ratio", "f"), ("p1_main", RRZ), ("p1_auxi", RRZ)]
PROC_OUT = [("rrz_zoom_main", RRZ), ("rrz_zoom_auxi", RRZ), ("traw_main", TRAW_RZ),
            ("traw_auxi", TRAW_RZ), ("wpe_main_fe_b", FE), ("wpe_auxi_fe_b", FE),
            ("wpe_main_fe_c", FE), ("wpe_auxi_fe_c", FE), ("wpe_main_n3d", WPE_TRAW),
            ("wpe_sub_n3d", WPE_TRAW), ("dpe", DPE), ("zoom_constraint", "f")]

# Every 32-bit word of an output record before the call. Its half (0x2D2D0000)
# is exact in float, so values the library derives from a stale field do not
# depend on float-versus-double intermediates.
SENTINEL = 0x5A5A0000


def bits_to_f32(b):
    return np.array([b], dtype=np.uint32).view(np.float32)[0]


def f32_to_bits(f):
    return int(np.array([f], dtype=np.float32).view(np.uint32)[0])


class Rec:
    """A record: one attribute per field; int fields hold unsigned 32-bit
    patterns, float fields numpy.float32. Assignments are coerced and checked."""

    def __init__(self, layout, word=0):
        object.__setattr__(self, "_layout", layout)
        object.__setattr__(self, "_kinds", {})
        for name, kind in layout:
            self._kinds[name] = kind
            if isinstance(kind, list):
                object.__setattr__(self, name, Rec(kind, word))
            elif kind == "f":
                object.__setattr__(self, name, bits_to_f32(word))
            else:
                object.__setattr__(self, name, word)

    def __setattr__(self, name, value):
        kind = self._kinds[name]  # KeyError on a misspelt field
        if kind == "f":
            value = F32(value)
        else:
            assert isinstance(value, (int, np.integer)) and not isinstance(value, bool), \
                (name, value)
            value = u32(value)
        object.__setattr__(self, name, value)

    def copy(self):
        return Rec.from_words(self._layout, self.words())

    def fields(self, prefix=""):
        """(dotted name, kind, value) for every leaf field in memory order."""
        for name, kind in self._layout:
            value = getattr(self, name)
            if isinstance(kind, list):
                yield from value.fields(prefix + name + ".")
            else:
                yield prefix + name, kind, value

    def words(self):
        return [f32_to_bits(v) if k == "f" else v for _, k, v in self.fields()]

    @staticmethod
    def from_words(layout, words):
        rec = Rec(layout)
        it = iter(words)

        def fill(r):
            for name, kind in r._layout:
                if isinstance(kind, list):
                    fill(getattr(r, name))
                elif kind == "f":
                    object.__setattr__(r, name, bits_to_f32(next(it)))
                else:
                    object.__setattr__(r, name, next(it))
        fill(rec)
        return rec


# ------------------------------------------------------ numeric knobs ------
# The documented arithmetic leaves the storage precision of a few double-based
# intermediates of the overlap computation open (the half-angles A, the
# overlap factor k, the ratio r and the crop ratio c). The model picks one
# reading; generate.py re-runs every case with each of them nudged by a few
# float ulps and rejects cases whose records would change, so the expected
# values do not depend on that choice.

class Knobs:
    def __init__(self, nudge=None):
        self.nudge = nudge  # (name, relative factor) or None

    def n(self, name, v):
        if self.nudge and self.nudge[0] == name:
            return type(v)(float(v) * self.nudge[1])
        return v


PLAIN = Knobs()

# ------------------------------------------------------------ GenSizeInit --

last_rounds = 0  # fitting rounds of the last gensize_init, for the case notes
FE_DEFAULTS = {0: (896, 672, 1120), 1: (960, 540, 1184), 2: (1152, 512, 1264)}


def usable_size(s):
    w = u32(s.sensor_scale_w - 2 * u32(s.sensor_offset_x1 + s.tg_offset_x))
    h = u32(s.sensor_scale_h - 2 * u32(s.sensor_offset_y1 + s.tg_offset_y))
    return w, h


def half_angle(s, vertical, knobs, name):
    """Half field of view of the usable image along the baseline, degrees."""
    uw, uh = usable_size(s)
    if not vertical:
        fov, usable, scale, size0, array = s.fov_w, uw, s.sensor_scale_w, s.sensor_size_w0, \
            s.pixel_array_width
    else:
        fov, usable, scale, size0, array = s.fov_h, uh, s.sensor_scale_h, s.sensor_size_h0, \
            s.pixel_array_height
    scaled_array = to_u32(uf(scale) / uf(size0) * uf(array))
    t = ddiv(dtan(float(fov) * 0.5 * DEG) * float(usable), float(scaled_array))
    return knobs.n(name, math.atan(t) / DEG)


def set_fe_main(out, cfg, fe_w, fe_h, fe_rot):
    m, a = out.main, out.auxi
    m.p1.fe_w, m.p1.fe_h = fe_w, fe_h
    fb, fc = m.fe_b, m.fe_c
    fb.in_w = fb.usage_w = fe_w
    fb.in_h = fb.usage_h = fe_h
    fb.offset_x = fb.offset_y = 0
    fb.rot_w = fb.rot_h = fe_rot
    fc.in_w = fc.usage_w = u32(fe_w) >> 1
    fc.in_h = fc.usage_h = u32(fe_h) >> 1
    fc.offset_x = fc.offset_y = 0
    fc.rot_w = fc.rot_h = u32(fe_rot) >> 1
    a.fe_b.rot_w = a.fe_b.rot_h = fe_rot
    a.fe_c.rot_w = a.fe_c.rot_h = u32(fe_rot) >> 1
    for cam, sensor in ((m, cfg.sensor_main), (a, cfg.sensor_auxi)):
        g = 28 if sensor.isOISon != 0 else 4
        cam.fe_b.grid_w = cam.fe_b.grid_h = g
        cam.fe_c.grid_w = cam.fe_c.grid_h = g
        cam.wpe_grid_in_w = cam.wpe_grid_in_h = g
    return 0


def set_rrz_auxi_fe_rect(out, cfg, w, h, f_main, f_auxi, knobs=PLAIN):
    m, a, sm, sa = out.main, out.auxi, cfg.sensor_main, cfg.sensor_auxi
    vertical = cfg.module_orient != 0
    # 1. depth range
    n = F32(16) if cfg.dpe_dv_lsb_sft == 0 else F32(8)
    out.dpe.dpe_padding = 64 if s32(cfg.dpe_cand_num) > 32 else 32
    out.dpe.working_range_to_disp = F32(253) / n
    s, s0 = (sm.sensor_scale_w, sm.sensor_size_w0) if not vertical else \
        (sm.sensor_scale_h, sm.sensor_size_h0)
    p = cfg.cell_size / (uf(s) / uf(s0)) * uf(s0) / uf(m.rect_in_w)
    fb = cfg.focal_length * cfg.baseline * F32(10000) / p * n
    out.working_range = fb / F32(253)
    # 2.-3. usable images and half-angles
    muw, muh = usable_size(sm)
    auw, auh = usable_size(sa)
    a_main = half_angle(sm, vertical, knobs, "A_main")
    a_auxi = half_angle(sa, vertical, knobs, "A_auxi")
    # 4. overlap factor
    near = float(cfg.module_variation) + std_min(a_main, a_auxi)
    far = tanf(std_max(a_main, a_auxi) * DEG)
    num = dtan(near * DEG) + float(cfg.baseline / out.working_range)
    k = knobs.n("k", F32(num) / knobs.n("tan_far", far))
    k1 = std_min(k, F32(1))
    m.crop_flag = 0
    a.crop_flag = 1 if k < F32(1) else 0
    # 5. auxiliary FE size
    r = knobs.n("r", F32(ddiv(dtan(a_auxi * DEG) * float(k1), dtan(a_main * DEG))))
    aux_w = to_u32(uf(cfg.align_wpe_in_w) * ceilf(uf(w) * r / uf(cfg.align_wpe_in_w)))
    q = uf(aux_w) / uf(w)
    aux_h = to_u32(F32(4) * ceilf(uf(h) / uf(w) * uf(aux_w) * F32(0.25)))
    # 6. auxiliary FE records
    fw, fh = m.fe_b.in_w, m.fe_b.in_h
    mw, mh = std_max(aux_w, fw), std_max(aux_h, fh)
    a.p1.fe_w, a.p1.fe_h = mw, mh
    b = a.fe_b
    b.in_w, b.in_h = (mw, mh) if not vertical else (mh, mw)
    b.usage_w, b.usage_h = fw, fh
    b.offset_x = max(0, sdiv2(b.in_w - fw))
    b.offset_y = max(0, sdiv2(b.in_h - fh))
    for f in ("in_w", "in_h", "offset_x", "offset_y", "usage_w", "usage_h"):
        setattr(a.fe_c, f, getattr(b, f) >> 1)
    # 7. main RRZ
    ow, oh = cfg.rrz_output_main_w, cfg.rrz_output_main_h
    z = m.rrz
    z.in_w, z.in_h, z.out_w, z.out_h = muw, muh, ow, oh
    z.usage_w = ceil2(uf(muw))
    z.usage_h = ceil2(uf(z.usage_w) * uf(oh) / uf(ow))
    if z.usage_h > muh:
        z.usage_h = muh
        z.usage_w = ceil2(uf(muh) * uf(ow) / uf(oh))
    z.offset_x = u32(muw - z.usage_w) >> 1
    z.offset_y = u32(muh - z.usage_h) >> 1
    # 8. auxiliary RRZ
    c = knobs.n("c", k1 * q / r)
    if c > F32(1) or cfg.only_crop_ratio == 1:
        c = F32(1)
    z = a.rrz
    z.in_w, z.in_h, z.out_w, z.out_h = auw, auh, aux_w, aux_h
    z.usage_w = ceil2(c * uf(auw))
    z.usage_h = ceil2(uf(z.usage_w) * uf(oh) / uf(ow))
    if z.usage_h > auh:
        z.usage_h = auh
        z.usage_w = ceil2(uf(auh) * uf(ow) / uf(oh))
    z.offset_x = max(0, sdiv2(auw - z.usage_w))
    z.offset_y = max(0, sdiv2(auh - z.usage_h))
    # 9. zoom limits
    m.zoom_maximum = std_min(uf(m.rrz.usage_w) / (uf(w) * f_main),
                             uf(m.rrz.usage_h) / (uf(h) * f_main))
    a.zoom_maximum = std_min(uf(a.rrz.usage_w) / (uf(aux_w) * f_auxi),
                             uf(a.rrz.usage_h) / (uf(aux_h) * f_auxi))
    out.zoom_constraint = std_min(m.zoom_maximum, a.zoom_maximum)
    # 10. auxiliary depth input
    if cfg.enable_gpu != 0:
        al_w, al_h = cfg.align_gpu_in_w, cfg.align_gpu_in_h
    else:
        al_w, al_h = cfg.align_wpe_in_w, 2
    x, y = m.rect_in_w, m.rect_in_h
    if cfg.module_orient != 0 and s32(cfg.has_mdp) != 1:
        x, y = y, x
    a.rect_in_w = to_u32(uf(al_w) * roundf(q * uf(x) / uf(al_w)))
    a.rect_in_h = to_u32(uf(al_h) * roundf(uf(y) / uf(x) * uf(a.rect_in_w) / uf(al_h)))
    return 0


def set_wpe_traw(out, cfg):
    m, a = out.main, out.auxi
    vertical1 = cfg.module_orient == 1
    if vertical1:
        angle = F32(270) if cfg.flow_rotate_type != 0 else F32(90)
    else:
        angle = cfg.module_angle
    m.wpe_traw_setting.module_angle = a.wpe_traw_setting.module_angle = angle
    fw, fh = cfg.p1_fe_main_w, cfg.p1_fe_main_h
    t = m.wpe_traw_setting
    t.in_w, t.in_h = fw, fh
    t.resize_w, t.resize_h = m.p1.fe_w, m.p1.fe_h
    t.crop_x = t.crop_y = 0
    t.crop_w, t.crop_h = m.p1.fe_w, m.p1.fe_h
    src = (m.fe_b.usage_w, m.fe_b.usage_h) if vertical1 else (m.fe_b.rot_w, m.fe_b.rot_h)
    t.rot_w, t.rot_h = src
    m.p1.fe_w, m.p1.fe_h = fw, fh
    t = a.wpe_traw_setting
    b = a.fe_b
    t.in_w, t.in_h = fw, fh
    t.resize_w, t.resize_h = a.p1.fe_w, a.p1.fe_h
    a.p1.fe_w, a.p1.fe_h = fw, fh
    if cfg.module_orient != 0:
        t.crop_x, t.crop_y, t.crop_w, t.crop_h = b.offset_y, b.offset_x, b.usage_h, b.usage_w
    else:
        t.crop_x, t.crop_y, t.crop_w, t.crop_h = b.offset_x, b.offset_y, b.usage_w, b.usage_h
    t.rot_w, t.rot_h = (b.usage_w, b.usage_h) if vertical1 else (b.rot_w, b.rot_h)
    m.p1.depth_w, m.p1.depth_h = m.rect_in_w, m.rect_in_h
    if m.rect_in_h > m.rect_in_w and m.rrz.usage_w > m.rrz.usage_h:
        m.p1.depth_w, m.p1.depth_h = m.rect_in_h, m.rect_in_w
    a.p1.depth_w, a.p1.depth_h = a.rect_in_w, a.rect_in_h
    return 0


def ratio_band(r):
    if r >= F32(1) and r < F32(999):
        return "high"
    if r >= F32(0.25) and r < F32(1):
        return "middle"
    return "low"


def set_dpe(out, cfg):
    d, m, a = out.dpe, out.main, out.auxi
    vertical = cfg.module_orient != 0
    if cfg.ai_tracking_w != 0 and cfg.ai_tracking_h != 0:
        rh = uf(d.dpe_noc_w_no_rot if vertical else d.dpe_noc_h_no_rot) / uf(cfg.ai_tracking_h)
        rw = uf(d.dpe_noc_h_no_rot if vertical else d.dpe_noc_w_no_rot) / uf(cfg.ai_tracking_w)
        if ratio_band(rh) != ratio_band(rw):
            return 5
    al = cfg.align_wpe_in_w
    if (d.dpe_noc_w_no_rot % al if al else d.dpe_noc_w_no_rot) != 0:
        return 3
    pad = d.dpe_padding
    if cfg.sensor_main.isOISon == 1:
        d.dpe_noc_w = d.dpe_noc_w + 64
        d.dpe_noc_h = d.dpe_noc_h + 64
    d.dpe_frm_w = d.dpe_noc_w + 2 * pad
    d.dpe_frm_h = d.dpe_noc_h
    if d.dpe_frm_w > 4096:
        return 4
    d.dpe_noc_buf_h = d.dpe_frm_h
    d.dpe_noc_buf_w = align_up(d.dpe_noc_w, cfg.align_dpe_out_w)
    pad2 = pad * math.ceil(d.dpe_noc_w / 544.0) if d.dpe_noc_w >= 545 else pad
    d.dpe_dv_w = u32(d.dpe_noc_w + pad2) >> 1
    d.dpe_dv_h = d.dpe_dv_buf_h = d.dpe_frm_h >> 1
    d.dpe_dv_buf_w = align_up(d.dpe_dv_w, 16)
    m.wpe_grid_w = m.wpe_grid_h = 4
    if cfg.sensor_main.isOISon == 1:
        m.wpe_grid_w, m.wpe_grid_h = m.fe_b.grid_w, m.fe_b.grid_h
    a.wpe_grid_w = to_u32(F32(32) * roundf(uf(d.dpe_frm_w >> 1) / F32(32)))
    a.wpe_grid_h = align_up(d.dpe_frm_h >> 1, 32)
    m.wpe_traw_setting.wpe_grid_w = m.fe_b.grid_w
    m.wpe_traw_setting.wpe_grid_h = m.fe_b.grid_h
    a.wpe_traw_setting.wpe_grid_w = a.fe_b.grid_w
    a.wpe_traw_setting.wpe_grid_h = a.fe_b.grid_h
    return 0


def integer_part_nonzero(angle):
    return abs(float(angle)) >= 1.0  # NaN -> False, as the Arm truncation gives 0


def sat_prepare(cfg):
    cfg.sensor_auxi.mode_2px_en = 0
    cfg.module_variation = F32(0)
    cfg.dpe_w = to_u32(F32(64) * ceilf(uf(cfg.p1_fe_main_w >> 1) / F32(64)))
    cfg.dpe_h = to_u32(F32(4) * ceilf(uf(cfg.p1_fe_main_h >> 1) / F32(4)))


def gensize_init(out, inp, knobs=PLAIN):
    """GenSizeInit(out, inp): fills `out` in place; returns (code, gRatioMode)."""
    cfg = inp.copy()
    if (cfg.feature_mode & 3) == 1:
        sat_prepare(cfg)
    ratio = uf(cfg.rrz_output_main_w) / uf(cfg.rrz_output_main_h)
    ratio_mode = 2 if ratio > F32(2) else 1 if ratio > F32(1.5555556) else 0
    out.slanted_en = 1 if integer_part_nonzero(cfg.module_angle) else 0
    w, h, rot = FE_DEFAULTS[ratio_mode]
    f_main = F32(2) if cfg.sensor_main.mode_2px_en == 1 else F32(1)
    f_auxi = F32(2) if cfg.sensor_auxi.mode_2px_en == 1 else F32(1)
    d = out.dpe
    # 10.-13. depth sizes
    big_w = align_up(cfg.dpe_w, cfg.align_wpe_in_w)
    d.dpe_noc_w_no_rot, d.dpe_noc_h_no_rot = big_w, cfg.dpe_h
    t = float(cfg.module_angle) * DEG
    dh, dw = float(cfg.dpe_h), float(big_w)
    rot_w = to_u32(abs(math.sin(t) * dh) + abs(math.cos(t) * dw) + 0.5)
    rot_h = to_u32(abs(math.cos(t) * dh) + abs(math.sin(t) * dw) + 0.5)
    d.dpe_noc_w = align_up(rot_w, cfg.align_dpe_in_w)
    d.dpe_noc_h = ceil2(uf(rot_h))
    if cfg.ai_depth_enable != 0:
        d.dpe_noc_w = align_up(d.dpe_noc_w, cfg.align_ai_depth_in_w)
        d.dpe_noc_h = align_up(d.dpe_noc_h, cfg.align_ai_depth_in_h)
        if cfg.ai_depth_temporal_enable != 0:
            d.dpe_noc_w = align_up(d.dpe_noc_w, cfg.align_wpe_in_w)
    if not integer_part_nonzero(cfg.module_angle):
        d.dpe_noc_w_no_rot, d.dpe_noc_h_no_rot = d.dpe_noc_w, d.dpe_noc_h
    # 15. depth input and flow rotation
    out.main.rect_in_w, out.main.rect_in_h = cfg.dpe_w, cfg.dpe_h
    rotate = 0
    if cfg.module_orient == 1 and s32(inp.has_mdp) != 1:
        rotate = 3 if cfg.flow_rotate_type == 1 else 1
    out.main.wpe_img_rotate_type = out.auxi.wpe_img_rotate_type = rotate
    # 16. fitting loop, guarded
    global last_rounds
    for last_rounds in range(1, 10001):
        ow, oh = (w, h) if cfg.module_orient == 0 else (h, w)
        set_fe_main(out, cfg, ow, oh, rot)
        set_rrz_auxi_fe_rect(out, cfg, w, h, f_main, f_auxi, knobs)
        set_wpe_traw(out, cfg)
        mz, az = out.main.rrz, out.auxi.rrz
        if (f_auxi * uf(az.out_w) <= uf(az.usage_w) and f_auxi * uf(az.out_h) <= uf(az.usage_h)
                and f_main * uf(ow) <= uf(mz.usage_w) and uf(az.out_w) <= F32(1280)
                and f_main * uf(oh) <= uf(mz.usage_h)):
            break
        s = uf(mz.usage_w) / (uf(ow) * f_main)
        s = std_min(s, uf(mz.usage_h) / (uf(oh) * f_main))
        s = std_min(s, uf(az.usage_w) / (f_auxi * uf(az.out_w)))
        s = std_min(s, uf(az.usage_h) / (f_auxi * uf(az.out_h)))
        s = std_min(s, F32(1280) / uf(az.out_w))
        nw = to_i32(F32(2) * floorf(uf(w) * s * F32(0.5)))
        nh = to_i32(F32(2) * floorf(uf(h) * s * F32(0.5)))
        if (nw, nh) == (w, h):
            return 9, ratio_mode
        w, h = nw, nh
        diag = F32(math.sqrt(float(s32(w)) ** 2 + float(s32(h)) ** 2))
        rot = to_i32(uf(cfg.align_fe_in_w) * ceilf(diag / uf(cfg.align_fe_in_w)))
    else:
        return 9, ratio_mode
    code = set_dpe(out, cfg)
    # 18. motion map, whatever the code
    if cfg.ai_depth_temporal_enable != 0:
        out.me.mmap_w = ceil2(uf(d.dpe_frm_w >> 1))
        out.me.mmap_h = ceil2(uf(d.dpe_frm_h >> 1))
    else:
        out.me.mmap_w = out.me.mmap_h = 0
    if code == 0 and s32(inp.has_mdp) != -1:
        a, al = out.auxi, cfg.align_wpe_in_w
        a.rect_in_w, a.rect_in_h = a.rect_in_w + al, a.rect_in_h + al
        a.p1.depth_w, a.p1.depth_h = a.p1.depth_w + al, a.p1.depth_h + al
    return code, ratio_mode


# ------------------------------------------------------------ GenSizeProc --

RRZ_WINDOW = ("in_w", "in_h", "offset_x", "offset_y", "usage_w", "usage_h", "out_w", "out_h")


def copy_fields(dst, src, names):
    for f in names:
        setattr(dst, f, getattr(src, f))


def decode_feature(word):
    word = u32(word)
    if word == 0:
        return "SAT", 1
    feature = {1: "SAT", 2: "Velmo"}.get(word & 3, "unsupported")
    return feature, (word >> 16) & 3


def traw_height(width, fe):
    """Even height for a TRAW output of `width`, with the FE aspect."""
    return to_u32(floorf(uf(width) / (uf(fe.in_w) / uf(fe.in_h)) * F32(0.5)) * F32(2))


def traw_uncropped(t, p1, height_align):
    t.in_w = t.usage_w = p1.out_w
    t.in_h = t.usage_h = p1.out_h
    t.offset_x = t.offset_y = 0
    t.out_w = align_down64(t.usage_w)
    if height_align == 16:
        t.out_h = to_u32(floorf(uf(t.usage_h) / F32(16)) * F32(16))
    else:
        t.out_h = to_u32(floorf(uf(t.usage_h) * F32(0.5)) * F32(2))


def sat_crop_follow(po, pi, io, notes):
    """SAT crop mode 1: the windows follow the frame's P1 crops. Records in
    `notes` which repair checks fired and the window check 1 logged."""
    rm, ra, tm, ta = po.rrz_zoom_main, po.rrz_zoom_auxi, po.traw_main, po.traw_auxi
    rm.in_w, rm.in_h = io.main.rrz.in_w, io.main.rrz.in_h
    copy_fields(rm, pi.p1_main, RRZ_WINDOW[2:])
    tm.in_w = tm.usage_w = pi.p1_main.out_w
    tm.in_h = tm.usage_h = pi.p1_main.out_h
    tm.offset_x = tm.offset_y = 0
    big_a = align_down64(pi.p1_main.out_w)
    tm.out_w = std_min(big_a, io.main.fe_b.in_w)
    tm.out_h = std_min(traw_height(big_a, io.main.fe_b), io.main.fe_b.in_h)
    z = io.auxi.rrz
    ra.in_w, ra.in_h = z.in_w, z.in_h
    ra.offset_x = u32(z.in_w - z.usage_w) >> 1
    ra.offset_y = u32(z.in_h - z.usage_h) >> 1
    ra.usage_w, ra.usage_h = z.usage_w, z.usage_h
    ra.out_w, ra.out_h = pi.p1_auxi.out_w, pi.p1_auxi.out_h
    pa = pi.p1_auxi
    ta.in_w, ta.in_h = pa.out_w, pa.out_h
    ta.usage_w = to_u32(ceilf(uf(pa.out_w) / uf(pa.usage_w) * uf(z.usage_w)))
    ta.usage_h = to_u32(ceilf(uf(pa.out_h) / uf(pa.usage_h) * uf(z.usage_h)))
    ta.offset_x = u32(ta.in_w - ta.usage_w) >> 1
    ta.offset_y = u32(ta.in_h - ta.usage_h) >> 1
    big_b = align_down64(ta.usage_w)
    ta.out_w = std_min(big_b, io.auxi.fe_b.in_w)
    ta.out_h = std_min(traw_height(big_b, io.auxi.fe_b), io.auxi.fe_b.in_h)
    fired = notes["checks"]
    if pa.usage_w < z.usage_w or pa.usage_h < z.usage_h:
        fired.append(1)
        ra.usage_w, ra.usage_h = pa.usage_w, pa.usage_h
        ra.offset_x = u32(z.in_w - ra.usage_w) >> 1
        ra.offset_y = u32(z.in_h - ra.usage_h) >> 1
        notes["check1_auxi"] = (ra.in_w, ra.in_h, ra.usage_w, ra.usage_h, ra.offset_x, ra.offset_y)
        rm.usage_w = rm.usage_w - 2
        rm.offset_x = u32(rm.in_w - rm.usage_w) >> 1
        traw_uncropped(ta, pa, 2)
    if ta.usage_w > ta.in_w or ta.usage_h > ta.in_h:
        fired.append(2)
        traw_uncropped(ta, pa, 16)
    if ra.usage_w > ra.in_w or ra.usage_h > ra.in_h:
        fired.append(3)
        copy_fields(ra, z, RRZ_WINDOW[:6])
        ra.out_w, ra.out_h = pa.out_w, pa.out_h


def velmo_zoom(po, pi, io):
    copy_fields(po.rrz_zoom_main, io.main.rrz, RRZ_WINDOW)
    copy_fields(po.rrz_zoom_auxi, io.auxi.rrz, RRZ_WINDOW)
    if abs(float(pi.zoom_ratio) - 1.0) > 1e-5:
        z = std_min(pi.zoom_ratio, io.zoom_constraint)
        for dst, src in ((po.rrz_zoom_main, io.main.rrz), (po.rrz_zoom_auxi, io.auxi.rrz)):
            for usage, out_f, in_f, off in (("usage_w", "out_w", "in_w", "offset_x"),
                                            ("usage_h", "out_h", "in_h", "offset_y")):
                u = to_u32(ceilf(uf(getattr(src, usage)) / z * F32(0.5)) * F32(2))
                u = std_max(u, getattr(src, out_f))
                setattr(dst, usage, u)
                setattr(dst, off, u32(getattr(src, in_f) - u) >> 1)
    for t in (po.traw_main, po.traw_auxi):
        for f, _ in TRAW_RZ:
            setattr(t, f, 0)


def proc_tail(po, io, cfg):
    m, a = io.main, io.auxi
    po.rrz_zoom_main.p1_fe_w, po.rrz_zoom_main.p1_fe_h = m.p1.fe_w, m.p1.fe_h
    po.rrz_zoom_main.p1_depth_w, po.rrz_zoom_main.p1_depth_h = m.p1.depth_w, m.p1.depth_h
    ra = po.rrz_zoom_auxi
    ra.p1_fe_w = std_min(a.p1.fe_w, ra.usage_w)
    ra.p1_fe_h = std_min(a.p1.fe_h, ra.usage_h)
    ra.p1_depth_w, ra.p1_depth_h = a.p1.depth_w, a.p1.depth_h
    fe_names = [f for f, _ in FE]
    copy_fields(po.wpe_main_fe_b, m.fe_b, fe_names)
    po.wpe_main_fe_b.rot_h = m.fe_b.rot_w
    copy_fields(po.wpe_auxi_fe_b, a.fe_b, fe_names)
    for c, b in ((po.wpe_main_fe_c, po.wpe_main_fe_b), (po.wpe_auxi_fe_c, po.wpe_auxi_fe_b)):
        for f in fe_names[:8]:
            setattr(c, f, getattr(b, f) >> 1)
        c.grid_w, c.grid_h = b.grid_w, b.grid_h
    for n3d, cam in ((po.wpe_main_n3d, m), (po.wpe_sub_n3d, a)):
        n3d.in_w, n3d.in_h = cam.p1.depth_w, cam.p1.depth_h
        for f in ("resize_w", "resize_h", "crop_x", "crop_y", "crop_w", "crop_h"):
            setattr(n3d, f, 0)
        n3d.rot_w, n3d.rot_h = io.dpe.dpe_frm_w, io.dpe.dpe_frm_h
        n3d.wpe_grid_in_w, n3d.wpe_grid_in_h = cam.fe_b.grid_w, cam.fe_b.grid_h
        n3d.wpe_grid_w, n3d.wpe_grid_h = cam.wpe_grid_w, cam.wpe_grid_h
        n3d.module_angle = cam.wpe_traw_setting.module_angle
    copy_fields(po.dpe, io.dpe, [f for f, _ in DPE])
    po.zoom_constraint = io.zoom_constraint
    if cfg.module_angle == F32(90) or cfg.module_angle == F32(270):
        def swap(r, fw, fh):
            wv, hv = getattr(r, fw), getattr(r, fh)
            setattr(r, fw, hv)
            setattr(r, fh, wv)
        swap(po.wpe_main_n3d, "wpe_grid_w", "wpe_grid_h")
        for fe in (po.wpe_main_fe_b, po.wpe_auxi_fe_b, po.wpe_main_fe_c, po.wpe_auxi_fe_c):
            swap(fe, "grid_w", "grid_h")
        swap(po.wpe_main_n3d, "wpe_grid_in_w", "wpe_grid_in_h")
        swap(po.wpe_sub_n3d, "wpe_grid_in_w", "wpe_grid_in_h")


def gensize_proc(po, pi, init, knobs=PLAIN):
    """GenSizeProc(po, pi, init): fills `po` in place; returns (code, notes)."""
    cfg = init.copy()
    io = Rec(INIT_OUT, 0)
    cfg.has_mdp = MASK
    feature, crop = decode_feature(cfg.feature_mode)
    notes = {"feature": feature, "crop": crop, "checks": []}
    if feature == "SAT":
        sat_prepare(cfg)
        code, _ = gensize_init(io, cfg, knobs)
        if code:
            return code, notes
        if crop == 2:
            copy_fields(po.rrz_zoom_main, io.main.rrz, RRZ_WINDOW)
            copy_fields(po.rrz_zoom_auxi, io.auxi.rrz, RRZ_WINDOW)
            for t in (po.traw_main, po.traw_auxi):
                for f, _ in TRAW_RZ:
                    setattr(t, f, 0)
        elif crop == 1:
            sat_crop_follow(po, pi, io, notes)
    elif feature == "Velmo":
        code, _ = gensize_init(io, cfg, knobs)
        if code:
            return code, notes
        if crop == 2:
            velmo_zoom(po, pi, io)
    proc_tail(po, io, cfg)
    return 0, notes


# -------------------------------------------------------------- self check --

def selfcheck():
    """The hand-derived numbers of the module docstring."""
    from cases import init_cases
    inp = dict((c.name, c) for c in init_cases())["velmo_h_16x9"].inp
    out = Rec(INIT_OUT, SENTINEL)
    code, mode = gensize_init(out, inp)
    m, a, d = out.main, out.auxi, out.dpe
    assert (code, mode) == (0, 1)
    assert (m.rrz.usage_w, m.rrz.usage_h, m.rrz.offset_x, m.rrz.offset_y) == (2000, 1126, 0, 187)
    assert abs(float(m.zoom_maximum) - 2000 / 960) < 1e-6
    assert (d.dpe_frm_w, d.dpe_frm_h, d.dpe_noc_buf_w, d.dpe_dv_w, d.dpe_dv_h) == \
        (704, 360, 640, 352, 180)
    assert (a.wpe_grid_w, a.wpe_grid_h) == (352, 192)
    assert abs(float(out.working_range) - 4.5 * 12 * 10000 / 14 * 16 / 253) < 1e-2
    assert a.crop_flag == 1
    assert (a.rrz.out_w, a.rrz.out_h, a.rrz.usage_w, a.rrz.usage_h) == (1024, 576, 1424, 802)
    assert (a.rrz.offset_x, a.rrz.offset_y) == (288, 349)
    assert float(a.zoom_maximum) == 1.390625 and float(out.zoom_constraint) == 1.390625
    assert (a.rect_in_w, a.rect_in_h) == (704 + 64, 396 + 64)
    print("selfcheck ok")


if __name__ == "__main__":
    selfcheck()
