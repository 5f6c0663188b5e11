"""python3 -m velmoutil plot KIND INPUT -o OUT.png|svg

Kinds and their inputs (the JSON documents of velmo-util):
  layout [CONFIG.json] [--frame FRAME.json]  stage windows of both cameras
  oisgrid FRAME.json                         a transformer frame's warp grid
  merge MERGE.json                           a merged warp map over its N3D grid
  mmap ROTATE.json [--power POWER.json]      a motion map before and after
                                             RotateMMap, PowerSaving in the title
"""

import argparse
import json
import os
import sys

import matplotlib

matplotlib.use("Agg")

import numpy as np  # noqa: E402

from . import _velmoutil, plot  # noqa: E402


def _load(path):
    with open(path, encoding="utf-8") as f:
        return json.load(f)


def _plane(doc, key, shape, dtype, base):
    """A plane inline (flat or rows) or as a raw native-order file beside the JSON."""
    value = doc[key]
    if isinstance(value, str):
        path = value if os.path.isabs(value) else os.path.join(base, value)
        data = np.fromfile(path, dtype=dtype)
    else:
        data = np.asarray(value, dtype=dtype).ravel()
    if data.size != shape[0] * shape[1]:
        raise ValueError(f"{key}: {data.size} values, expected {shape[0] * shape[1]}")
    return data.reshape(shape)


def _layout(args):
    config = _load(args.input) if args.input else None
    frame = _load(args.frame) if args.frame else None
    if frame is not None and config is None:
        config = _velmoutil.default_config()
    return plot.stage_layout(config, frame, out=args.out)


def _oisgrid(args):
    doc, base = _load(args.input), os.path.dirname(args.input)
    shape = (doc["vect_h"], doc["vect_w"])
    x = _plane(doc, "inOisX", shape, np.float64, base)
    y = _plane(doc, "inOisY", shape, np.float64, base)
    trans = _velmoutil.VectWarpMapTrans(doc["gridInW"], doc["gridInH"], doc["isOisOn"])
    gx, gy = trans.frame(x, y, doc["imgSizeDesc"], doc["gridParam"], doc["dir"])
    return plot.ois_frame_grid(gx, gy, doc["gridParam"], args.arrow_scale, out=args.out)


def _merge(args):
    doc, base = _load(args.input), os.path.dirname(args.input)
    info = doc["info"]
    ois = (info["oisH"], info["oisW"])
    n3d = (info["n3dH"], info["n3dW"])
    planes = [_plane(doc, k, s, np.int32, base)
              for k, s in (("ois_x", ois), ("ois_y", ois), ("n3d_x", n3d), ("n3d_y", n3d))]
    mx, my = _velmoutil.merge_grid(*planes, info)
    return plot.merge_grid(planes[2], planes[3], mx, my, args.arrow_scale, out=args.out)


def _mmap(args):
    doc, base = _load(args.input), os.path.dirname(args.input)
    p = doc["param"]
    if p["_stride_map"] != p["_width_map"]:
        raise ValueError("param._stride_map: plots take maps without row padding")
    shape = (p["_height_map"], p["_width_map"])
    x = _plane(doc, "map_x", shape, np.int32, base)
    y = _plane(doc, "map_y", shape, np.int32, base)
    rx, ry = _velmoutil.rotate_mmap(x, y, p["_degree_rot"], p["_width_map_rot_buffer"],
                                    p["_height_map_rot_buffer"], p["_width_img"], p["_height_img"],
                                    p["_padding_x_img"], p["_stride_map_rot_buffer"])
    stats = decision = None
    if args.power:
        power = _load(args.power)
        settings = {k.lstrip("_"): v for k, v in power["param"].items()
                    if k not in ("_width", "_height", "_stride")}
        decision, stats = _velmoutil.power_saving_stats(x, y, **settings)
    return plot.motion_map(x, y, rx, ry, p["_degree_rot"], stats, decision, out=args.out)


def main(argv=None):
    parser = argparse.ArgumentParser(prog="python3 -m velmoutil", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    commands = parser.add_subparsers(dest="command", required=True)
    plot_parser = commands.add_parser("plot", help="draw a picture into a PNG or SVG file")
    plot_parser.add_argument("kind", choices=["layout", "oisgrid", "merge", "mmap"])
    plot_parser.add_argument("input", nargs="?", help="the JSON document (optional for layout)")
    plot_parser.add_argument("-o", "--out", required=True, help="output file, .png or .svg")
    plot_parser.add_argument("--frame", help="layout: a GenSizeProc frame (zoom_ratio, p1_main, p1_auxi)")
    plot_parser.add_argument("--power", help="mmap: PowerSaving parameters (param of power-saving)")
    plot_parser.add_argument("--arrow-scale", type=float, help="oisgrid, merge: arrow and mesh magnification")
    args = parser.parse_args(argv)
    if not args.out.endswith((".png", ".svg")):
        parser.error("--out must end in .png or .svg")
    if args.kind != "layout" and not args.input:
        parser.error(f"plot {args.kind} needs an input document")
    try:
        {"layout": _layout, "oisgrid": _oisgrid, "merge": _merge, "mmap": _mmap}[args.kind](args)
    except (OSError, KeyError, ValueError) as e:
        print(f"python3 -m velmoutil: {args.input or args.frame}: {e!r}" if isinstance(e, KeyError)
              else f"python3 -m velmoutil: {e}", file=sys.stderr)
        return 2
    return 0


if __name__ == "__main__":
    sys.exit(main())
