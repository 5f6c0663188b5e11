"""velmoutil: the bindings and velmo-util, two separate callers of the C++
API, give the same results (tools_cli_test also compares the sizing and map
commands with the calls), refusals raise, and the plots draw each window and
vector in its place."""

import json
import os
import subprocess

import numpy as np
import pytest
from matplotlib.patches import Rectangle
from matplotlib.quiver import Quiver

import velmoutil
from velmoutil import plot

DATA = os.environ["VELMO_TOOLS_TEST_DATA"]
CLI = os.environ.get("VELMO_UTIL_CLI")
needs_cli = pytest.mark.skipif(not CLI, reason="velmo-util not built")


def cli(*args):
    done = subprocess.run([CLI, *args], capture_output=True, text=True, check=True)
    return json.loads(done.stdout)


def load(name):
    with open(os.path.join(DATA, name), encoding="utf-8") as f:
        return json.load(f)


def float32_record(record):
    """Floats as the float32 they stand for (velmo-util prints them shortest)."""
    if isinstance(record, dict):
        return {k: float32_record(v) for k, v in record.items()}
    return np.float32(record) if isinstance(record, float) else record


def frame_inputs():
    f = load("ois-frame.json")
    return f, np.array(f["inOisX"], dtype=float), np.array(f["inOisY"], dtype=float)


def merge_inputs():
    m = load("merge.json")
    ois = [np.fromfile(os.path.join(DATA, m[k]), dtype=np.int32).reshape(3, 3) for k in ("ois_x", "ois_y")]
    n3d = [np.array(m[k], dtype=np.int32) for k in ("n3d_x", "n3d_y")]
    return m, ois, n3d


@needs_cli
def test_same_results_as_the_library():
    code, sizes = velmoutil.gensize_init(velmoutil.default_config())
    assert code == 0
    assert float32_record(sizes) == float32_record(cli("gensize"))

    f, x, y = frame_inputs()
    gx, gy = velmoutil.VectWarpMapTrans(f["gridInW"], f["gridInH"], f["isOisOn"]).frame(
        x, y, f["imgSizeDesc"], f["gridParam"], f["dir"])
    grid = cli("oisgrid", os.path.join(DATA, "ois-frame.json"))
    assert gx.tolist() == grid["gridX"] and gy.tolist() == grid["gridY"]
    assert np.array_equal(x, np.array(f["inOisX"]))  # the scaled-in-place vectors are restored

    m, ois, n3d = merge_inputs()
    mx, my = velmoutil.merge_grid(*ois, *n3d, m["info"])
    merged = cli("merge", os.path.join(DATA, "merge.json"))
    assert mx.tolist() == merged["merged_x"] and my.tolist() == merged["merged_y"]

    r = load("rotate-mmap.json")
    p = r["param"]
    rx, ry = velmoutil.rotate_mmap(np.array(r["map_x"]), np.array(r["map_y"]), p["_degree_rot"],
                                   p["_width_map_rot_buffer"], p["_height_map_rot_buffer"], p["_width_img"],
                                   p["_height_img"], p["_padding_x_img"], p["_stride_map_rot_buffer"])
    rotated = cli("rotate-mmap", os.path.join(DATA, "rotate-mmap.json"))
    assert rx.tolist() == rotated["rot_x"] and ry.tolist() == rotated["rot_y"]

    settings = {k[1:]: v for k, v in load("power-saving.json")["param"].items()
                if k not in ("_width", "_height", "_stride")}
    decision, stats = velmoutil.power_saving_stats(np.array(r["map_x"]), np.array(r["map_y"]), **settings)
    printed = cli("power-saving", os.path.join(DATA, "power-saving.json"))
    assert decision == printed["power_saving"] == velmoutil.power_saving(
        np.array(r["map_x"]), np.array(r["map_y"]), **settings)
    assert (stats["x magnitude max"], stats["y avg_scaled"]) == (printed["max_x"], printed["avg_scaled_y"])


def test_gpu_transform_reads_the_grid_planes_of_the_working_buffer():
    f, x, y = frame_inputs()
    trans = velmoutil.VectWarpMapTrans(f["gridInW"], f["gridInH"], 1)
    gx, gy = trans.transform_gpu(x, y, f["imgSizeDesc"], f["gridParam"])
    assert gx.shape == gy.shape == (f["gridParam"]["content_h"], f["gridParam"]["content_w"])
    # The second fixed-point pass reads planes as pairs: x holds the even
    # entries of the x-then-y planes, y the odd ones; the first half is the
    # x plane, rising along each row from about the left edge.
    assert np.all(np.diff(gx.ravel()[:16]) > 0) and abs(gx[0, 0]) < 32 * 16
    # Same frame, same answer: nothing of the previous frame leaks in.
    gx2, _ = trans.transform_gpu(x, y, f["imgSizeDesc"], f["gridParam"])
    assert np.array_equal(gx, gx2)


def test_refusals_raise():
    _, ois, n3d = merge_inputs()
    with pytest.raises(ValueError, match=r"OIS grid 1 x 3 .* nothing merged"):
        velmoutil.merge_grid(ois[0][:, :1], ois[1][:, :1], *n3d, {"imageW": 101, "imageH": 81})
    config = velmoutil.default_config()
    config["sensor_main"]["fov_W"] = 1
    with pytest.raises(ValueError, match=r"sensor_main\.fov_W: unknown key"):
        velmoutil.gensize_init(config)
    f, x, y = frame_inputs()
    f["gridParam"]["content_w"] = 40
    with pytest.raises(ValueError, match=r"Error: content\(40, 24\) larger than buffer"):
        velmoutil.VectWarpMapTrans(7, 5, 1).frame(x, y, f["imgSizeDesc"], f["gridParam"])
    with pytest.raises(ValueError, match="RotateMMap.*_stride_map_rot_buffer 4"):
        velmoutil.rotate_mmap(np.zeros((6, 8), np.int32), np.zeros((6, 8), np.int32), 90, 6, 8, 600, 800, 0, 4)


def test_plots_draw_each_window_and_vector_in_its_place(tmp_path):
    fig = plot.stage_layout(out=str(tmp_path / "layout.png"))
    _, sizes = velmoutil.gensize_init(velmoutil.default_config())
    rects = [p for p in fig.axes[0].patches if isinstance(p, Rectangle)]
    assert len(rects) == 2 * 3 * 2 + 2  # frame and window of RRZ, FE, WPE per camera, and DPE
    rrz = sizes["main"]["rrz"]
    assert (rects[1].get_xy(), rects[1].get_width()) == ((rrz["offset_x"], rrz["offset_y"]), rrz["usage_w"])

    _, _, n3d = merge_inputs()  # every node moved two pixels right, one up
    fig = plot.merge_grid(n3d[0], n3d[1], n3d[0] + 64, n3d[1] - 32, arrow_scale=1.0, out=str(tmp_path / "g.svg"))
    arrows = [c for c in fig.axes[0].collections if isinstance(c, Quiver)]
    assert np.allclose(arrows[0].get_offsets(), np.column_stack((n3d[0].ravel(), n3d[1].ravel())) / 32)
    assert np.allclose(arrows[0].U, 2) and np.allclose(arrows[0].V, -1)
