#!/usr/bin/python3
"""Renders the forward OIS frame of vwmt_ois_frame_bench with NumPy and SciPy
and compares its time with the library's oisVecToGrid measured in the same run.

Run with Debian's interpreter (python3-scipy, python3-numpy):

    /usr/bin/python3 bench/vwmt/peer_ois_frame.py build/bench/vwmt/vwmt_ois_frame_bench

The peer is the straightforward rendering of the same sequence of
triangle-mesh interpolations: the displaced sensor mesh at the crop nodes, the
displaced vector mesh at the content grid, the rotation on the content mesh
and the read-out at the output pixel centres, each a LinearNDInterpolator
built on the frame's points (a Delaunay triangulation per interpolation,
since the displaced meshes change every frame), then the rounding to pixels
x 32. Points outside a triangulation come out as NaN instead of being
extrapolated; that changes no timing. Both sides are timed in process CPU
time, best of several runs.
"""

import json
import subprocess
import sys
import tempfile
import time

import numpy as np
from scipy.interpolate import LinearNDInterpolator

VECTORS = 28
TG = (40.0, 30.0, 4000.0, 3000.0)  # tg crop offset and size: the fixed-up sensor
P1 = (1920.0, 1440.0)              # P1 resize = rotated image after the forward fix-up
OIS_SCALE = 0.88


def vector_field():
    """Mirrors vectorField() in OisFrameBench.cpp."""
    j, i = np.mgrid[0:VECTORS, 0:VECTORS]
    return 3.0 * np.sin(0.2 * i) + 0.1 * j, 2.0 * np.cos(0.15 * j) - 0.05 * i


def uniform(nx, ny, width, height, x0=0.0, y0=0.0):
    ys, xs = np.mgrid[0:ny, 0:nx]
    return np.column_stack([x0 + xs.ravel() * width / (nx - 1), y0 + ys.ravel() * height / (ny - 1)])


def interpolate(points, values, queries):
    return LinearNDInterpolator(points, values)(queries)


def forward_frame(vx, vy, content, angle):
    # Scaled vectors and the crop-and-resize of the fixed-up geometry.
    vectors = np.column_stack([vx.ravel(), vy.ravel()]) * OIS_SCALE
    crop_x, crop_y, crop_w, crop_h = TG
    scale = np.array([P1[0] / crop_w, P1[1] / crop_h])
    mesh = uniform(VECTORS, VECTORS, *P1)

    # The displaced sensor mesh at the crop nodes, resized to P1.
    sensor = uniform(VECTORS, VECTORS, TG[2], TG[3])
    crop_nodes = uniform(VECTORS, VECTORS, crop_w, crop_h, crop_x, crop_y)
    moved = interpolate(sensor, sensor + vectors, crop_nodes)
    displaced = scale * (moved - crop_nodes) + mesh

    # The displaced mesh at the content grid.
    nodes = uniform(content, content, *P1)
    warped = interpolate(mesh, displaced, nodes)

    # Rotation about the image centre, sampled on the content mesh.
    centre = np.array(P1) * 0.5
    theta = np.radians(angle)
    c, s = np.cos(theta), np.sin(theta)
    d = nodes - centre
    rotated = centre + np.column_stack([c * d[:, 0] + s * d[:, 1], c * d[:, 1] - s * d[:, 0]])
    warped = interpolate(nodes, rotated, warped)

    # Read-out at the output pixel centres, pixels x 32 halves away from zero.
    steps = np.arange(content) / (content - 1)
    qy, qx = np.meshgrid(steps * (P1[1] - 1) + 0.5, steps * (P1[0] - 1) + 0.5, indexing="ij")
    sampled = interpolate(nodes, warped, np.column_stack([qx.ravel(), qy.ravel()]))
    fixed = (sampled - 0.5) * 32.0
    return np.trunc(fixed + np.copysign(0.5, fixed))


def best_time(fn, repeats):
    fn()
    best = float("inf")
    for _ in range(repeats):
        start = time.process_time()
        fn()
        best = min(best, time.process_time() - start)
    return best


def main():
    if len(sys.argv) < 2:
        print(__doc__)
        return 2
    # The transformer's construction prints the arena's usage on standard
    # output, so the results go through a file.
    with tempfile.NamedTemporaryFile(suffix=".json") as report:
        subprocess.run(
            [sys.argv[1], "--benchmark_repetitions=5", "--benchmark_filter=BM_OisFrame/content:[0-9]+/dir:0/",
             "--benchmark_out_format=json", "--benchmark_out=" + report.name],
            check=True, capture_output=True, text=True)
        benchmarks = json.load(open(report.name))["benchmarks"]
    results = {}
    for b in benchmarks:
        if b.get("run_type") != "iteration":
            continue
        name = b["run_name"]
        if name not in results or b["cpu_time"] < results[name]["cpu_time"]:
            results[name] = b
    scale = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}
    vx, vy = vector_field()
    for content in (28, 66):
        for angle in (0, 90):
            name = f"BM_OisFrame/content:{content}/dir:0/angle:{angle}"
            lib = results[name]
            lib_us = lib["cpu_time"] * scale[lib["time_unit"]] * 1e6
            peer_us = best_time(lambda: forward_frame(vx, vy, content, angle), 10) * 1e6
            print(f"forward {content}x{content} at {angle:2d} degrees: library {lib_us:8.1f} us/frame, "
                  f"SciPy {peer_us:9.1f} us/frame, {peer_us / lib_us:6.1f}x")
    return 0


if __name__ == "__main__":
    sys.exit(main())
