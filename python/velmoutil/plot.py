"""Pictures for tuning engineers: stage layouts, warp grids and motion maps.

Every function draws into a new Matplotlib figure, writes it when `out` names
a .png or .svg file, and returns the figure. Positions are in pixels; warp
grids and maps in the library's fixed point are divided by 32 first.
"""

import matplotlib.pyplot as plt
import numpy as np
from matplotlib.collections import LineCollection
from matplotlib.patches import Rectangle

from . import _velmoutil

FIXED_POINT = 32.0
_GAP = 0.08  # space between stage panels, as a share of the widest stage


def _save(fig, out):
    if out is not None:
        fig.savefig(out, dpi=72)
    return fig


def _stage(ax, x0, y0, name, in_w, in_h, win_x, win_y, win_w, win_h, colour):
    """An input frame and the window taken from it, at scale, labelled."""
    ax.add_patch(Rectangle((x0, y0), in_w, in_h, fill=False, edgecolor="0.35", linewidth=1.0))
    ax.add_patch(Rectangle((x0 + win_x, y0 + win_y), win_w, win_h, facecolor=colour, alpha=0.35,
                           edgecolor=colour, linewidth=1.5))
    ax.text(x0, y0 - 20, f"{name} in {in_w}x{in_h}", fontsize=7, va="bottom")
    ax.text(x0 + win_x + 8, y0 + win_y + 8, f"{win_w}x{win_h}\n@({win_x},{win_y})", fontsize=7, va="top",
            color="black")
    return x0 + in_w


def _stages_of_configuration(sizes, camera):
    cam = sizes[camera]
    rrz, fe, wpe = cam["rrz"], cam["fe_b"], cam["wpe_traw_setting"]
    return [
        ("RRZ", rrz["in_w"], rrz["in_h"], rrz["offset_x"], rrz["offset_y"], rrz["usage_w"], rrz["usage_h"]),
        ("FE", fe["in_w"], fe["in_h"], fe["offset_x"], fe["offset_y"], fe["usage_w"], fe["usage_h"]),
        ("WPE/TRAW", wpe["in_w"], wpe["in_h"], wpe["crop_x"], wpe["crop_y"], wpe["crop_w"], wpe["crop_h"]),
    ]


def _stages_of_frame(windows, camera):
    rz, traw = windows[f"rrz_zoom_{camera}"], windows[f"traw_{camera}"]
    return [
        ("RRZ zoom", rz["in_w"], rz["in_h"], rz["offset_x"], rz["offset_y"], rz["usage_w"], rz["usage_h"]),
        ("TRAW", traw["in_w"], traw["in_h"], traw["offset_x"], traw["offset_y"], traw["usage_w"],
         traw["usage_h"]),
    ]


def stage_layout(config=None, frame=None, out=None):
    """The hardware stages of both cameras, to scale: each stage's input frame
    (outline) and the window it takes (filled), with sizes and offsets. With a
    frame, the per-frame windows at its zoom instead. Raises ValueError when
    the configuration or the frame is rejected."""
    config = _velmoutil.default_config() if config is None else config
    code, sizes = _velmoutil.gensize_init(config)
    if code != 0:
        raise ValueError(f"GenSizeInit returned {code}")
    if frame is not None:
        code, windows = _velmoutil.gensize_proc(frame, config)
        if code != 0:
            raise ValueError(f"GenSizeProc returned {code}")
        rows = {cam: _stages_of_frame(windows, cam) for cam in ("main", "auxi")}
        title = f"Per-frame windows at zoom {frame['zoom_ratio']:g}"
        extra = None
    else:
        rows = {cam: _stages_of_configuration(sizes, cam) for cam in ("main", "auxi")}
        dpe = sizes["dpe"]
        extra = ("DPE", dpe["dpe_frm_w"], dpe["dpe_frm_h"], 0, 0, dpe["dpe_noc_w"], dpe["dpe_noc_h"])
        title = "Configuration: stage windows of both cameras"

    # A stage the feature does not use has a 0 x 0 input: left out.
    rows = {cam: [s for s in stages if s[1] > 0 and s[2] > 0] for cam, stages in rows.items()}
    widest = max(s[1] for stages in rows.values() for s in stages)
    gap = _GAP * widest
    fig, ax = plt.subplots(figsize=(11, 4.6))
    y0, right, colours = 0, 0, {"main": "tab:blue", "auxi": "tab:orange"}
    for cam, stages in rows.items():
        x0 = 0
        tallest = max(s[2] for s in stages) if stages else 0
        ax.text(-gap * 0.3, y0 + tallest / 2, cam, rotation=90, ha="right", va="center", fontsize=10)
        for stage in stages:
            x0 = _stage(ax, x0, y0, *stage, colours[cam]) + gap
        if extra is not None and cam == "main":
            x0 = _stage(ax, x0, y0, *extra, "tab:green") + gap
        right = max(right, x0)
        y0 += tallest + 2 * gap
    ax.set_xlim(-gap, right)
    ax.set_ylim(y0 - gap, -gap)  # image rows grow downwards
    ax.set_aspect("equal")
    ax.set_xlabel("pixels (each stage in its own input's coordinates)")
    ax.set_title(title)
    fig.tight_layout()
    return _save(fig, out)


def warp_grid(base_x, base_y, warped_x, warped_y, arrow_scale=None, title="Warp grid", out=None):
    """A warp grid as a deformed mesh (blue) over the grid it was evaluated on
    (grey), with arrows from each node towards its warped position, lengthened
    by `arrow_scale` (chosen so the longest arrow spans a grid cell when None).
    All arguments are H x W arrays of pixel positions."""
    bx, by, wx, wy = (np.asarray(a, dtype=float) for a in (base_x, base_y, warped_x, warped_y))
    dx, dy = wx - bx, wy - by
    if arrow_scale is None:
        cell = max(np.ptp(bx) / max(bx.shape[1] - 1, 1), np.ptp(by) / max(bx.shape[0] - 1, 1), 1.0)
        longest = float(np.hypot(dx, dy).max())
        arrow_scale = cell / longest if longest > 0 else 1.0
    fig, ax = plt.subplots(figsize=(7.5, 6))

    def mesh(x, y, **style):
        lines = [np.column_stack((x[r], y[r])) for r in range(x.shape[0])]
        lines += [np.column_stack((x[:, c], y[:, c])) for c in range(x.shape[1])]
        ax.add_collection(LineCollection(lines, **style))

    mesh(bx, by, colors="0.75", linewidths=0.8)
    mesh(bx + arrow_scale * dx, by + arrow_scale * dy, colors="tab:blue", linewidths=1.0)
    ax.quiver(bx, by, arrow_scale * dx, arrow_scale * dy, angles="xy", scale_units="xy", scale=1,
              color="tab:red", width=0.002)
    ax.autoscale_view()
    ax.invert_yaxis()
    ax.set_aspect("equal")
    ax.set_title(f"{title}\nmesh and arrows x{arrow_scale:.3g}; largest shift {np.hypot(dx, dy).max():.2f} px")
    ax.set_xlabel("x (pixels)")
    ax.set_ylabel("y (pixels)")
    fig.tight_layout()
    return _save(fig, out)


def ois_frame_grid(grid_x, grid_y, grid_param, arrow_scale=None, out=None):
    """warp_grid for a transformer frame: the content grid spread over the
    output image (rotImg, else srcImg) and the grid planes in fixed point."""
    gx, gy = np.asarray(grid_x), np.asarray(grid_y)
    size = grid_param["rotImg"]["size"]
    if size["w"] <= 0 or size["h"] <= 0:
        size = grid_param["srcImg"]["size"]
    h, w = gx.shape
    bx, by = np.meshgrid(np.linspace(0, size["w"] - 1, w), np.linspace(0, size["h"] - 1, h))
    return warp_grid(bx, by, gx / FIXED_POINT, gy / FIXED_POINT, arrow_scale,
                     f"OIS warp grid, {w} x {h} nodes over {size['w']} x {size['h']}", out)


def merge_grid(n3d_x, n3d_y, merged_x, merged_y, arrow_scale=None, out=None):
    """warp_grid for a merge: the N3D positions and where the merge sends them."""
    h, w = np.asarray(n3d_x).shape
    return warp_grid(np.asarray(n3d_x) / FIXED_POINT, np.asarray(n3d_y) / FIXED_POINT,
                     np.asarray(merged_x) / FIXED_POINT, np.asarray(merged_y) / FIXED_POINT, arrow_scale,
                     f"Merged warp map, {w} x {h} N3D nodes", out)


def motion_map(x, y, rotated_x, rotated_y, degree, stats=None, decision=None, out=None):
    """Vectors of a motion map before and after RotateMMap, one arrow per
    element at its column and row; PowerSaving's statistics in the title."""
    fig, axes = plt.subplots(1, 2, figsize=(11, 5))
    for ax, (u, v), name in ((axes[0], (x, y), "before"), (axes[1], (rotated_x, rotated_y),
                                                           f"after RotateMMap {degree} deg")):
        u, v = np.asarray(u, dtype=float), np.asarray(v, dtype=float)
        cols, rows = np.meshgrid(np.arange(u.shape[1]), np.arange(u.shape[0]))
        ax.quiver(cols, rows, u, v, angles="xy", color="tab:purple", pivot="tail")
        ax.set_xlim(-1, u.shape[1])
        ax.set_ylim(u.shape[0], -1)
        ax.set_aspect("equal")
        ax.set_title(f"{name} ({u.shape[1]} x {u.shape[0]})")
        ax.set_xlabel("column")
        ax.set_ylabel("row")
    if stats is not None:
        verdict = "" if decision is None else ("power saving: yes" if decision else "power saving: no")
        fig.suptitle(f"{verdict}   max |x| {stats['x magnitude max']}, |y| {stats['y magnitude max']};  "
                     f"mean x {stats['x avg']:.3g}, y {stats['y avg']:.3g};  scaled max "
                     f"{stats['x magnitude max_scaled']:.3g}, {stats['y magnitude max_scaled']:.3g}; "
                     f"scaled mean {stats['x avg_scaled']:.3g}, {stats['y avg_scaled']:.3g}", fontsize=9)
    fig.tight_layout()
    return _save(fig, out)
