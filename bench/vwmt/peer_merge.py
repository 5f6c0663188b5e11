#!/usr/bin/python3
"""Times the combined warp-map merge written with NumPy/SciPy against
CombWarpMapTrans::mergeGrid measured in the same run.

Run with Debian's interpreter (python3-numpy, python3-scipy):

    /usr/bin/python3 bench/vwmt/peer_merge.py build/dev/bench/vwmt/vwmt_merge_bench

The benchmark writes its case (the OIS and N3D fixed-point planes and their
sizes) to a temporary directory. The peer builds the uniform OIS mesh and a
LinearNDInterpolator on it once (not timed), then times what a frame costs:
the N3D planes to float pixels, the interpolation, and rounding back to fixed
point with halves away from zero, all in NumPy. Both sides are timed in
process CPU time, the best of several runs.
"""

import json
import os
import subprocess
import sys
import tempfile
import time

import numpy as np
from scipy.interpolate import LinearNDInterpolator


def read_case(path):
    with open(path, "rb") as f:
        info = np.frombuffer(f.read(32), dtype="<i4")
        image_w, image_h, _, _, ois_w, ois_h, n3d_w, n3d_h = (int(v) for v in info)
        m, q = ois_w * ois_h, n3d_w * n3d_h
        ois_x = np.frombuffer(f.read(4 * m), dtype="<i4")
        ois_y = np.frombuffer(f.read(4 * m), dtype="<i4")
        n3d_x = np.frombuffer(f.read(4 * q), dtype="<i4")
        n3d_y = np.frombuffer(f.read(4 * q), dtype="<i4")
    return (image_w, image_h, ois_w, ois_h), (ois_x, ois_y), (n3d_x, n3d_y)


def best_time(fn, repeats):
    fn()
    best = float("inf")
    for _ in range(repeats):
        start = time.process_time()
        fn()
        best = min(best, time.process_time() - start)
    return best


def fixed_point(v):
    scaled = v.astype(np.float32) * np.float32(32.0)
    rounded = scaled.astype(np.float64) + 0.5 - (scaled < 0)
    return np.trunc(np.nan_to_num(rounded)).astype(np.int32)


def main():
    if len(sys.argv) < 2:
        print(__doc__)
        return 2
    with tempfile.TemporaryDirectory() as data_dir:
        env = dict(os.environ, VELMO_MERGE_BENCH_DATA=data_dir)
        # The arena prints its usage to standard output, so the results go
        # to a file.
        results = os.path.join(data_dir, "results.json")
        subprocess.run(
            [sys.argv[1], "--benchmark_out_format=json", "--benchmark_out=" + results,
             "--benchmark_repetitions=5"],
            env=env, check=True, capture_output=True, text=True)
        with open(results) as f:
            report = json.load(f)
        best = {}
        for b in report["benchmarks"]:
            if b.get("run_type") != "iteration":
                continue
            name = b["run_name"]
            if name not in best or b["cpu_time"] < best[name]["cpu_time"]:
                best[name] = b
        (image_w, image_h, ois_w, ois_h), ois, n3d = read_case(os.path.join(data_dir, "merge.bin"))

    gx, gy = np.meshgrid(np.linspace(0, image_w - 1, ois_w, dtype=np.float32),
                         np.linspace(0, image_h - 1, ois_h, dtype=np.float32))
    mesh = np.column_stack([gx.ravel(), gy.ravel()]).astype(np.float64)
    values = np.column_stack([ois[0], ois[1]]).astype(np.float64) * 0.03125
    interp = LinearNDInterpolator(mesh, values)

    def merge():
        qx = n3d[0].astype(np.float32) * np.float32(0.03125)
        qy = n3d[1].astype(np.float32) * np.float32(0.03125)
        composed = interp(qx, qy)
        return fixed_point(composed[:, 0]), fixed_point(composed[:, 1])

    peer_ms = best_time(merge, 5) * 1e3
    scale = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}
    queries = len(n3d[0])

    def ms(name):
        b = best[name]
        return b["cpu_time"] * scale[b["time_unit"]]

    merge_ms = ms("BM_MergeGrid_Ois66_N3d600")
    walk_ms = ms("BM_InterpolateByMesh_Ois66_N3d600")
    seq_ms = ms("BM_Sequential_Ois66_N3d600")
    print(f"merge {ois_w}x{ois_h} OIS through {queries} N3D points "
          f"({int(best['BM_MergeGrid_Ois66_N3d600']['lanes'])} lanes)")
    print(f"  mergeGrid                  {merge_ms:7.3f} ms")
    print(f"  walk alone                 {walk_ms:7.3f} ms  {walk_ms * 1e6 / queries:6.2f} ns/query")
    print(f"  walk, sequential reference {seq_ms:7.3f} ms  {seq_ms * 1e6 / queries:6.2f} ns/query")
    print(f"  NumPy/SciPy peer           {peer_ms:7.3f} ms")
    print(f"  mergeGrid is {peer_ms / merge_ms:.1f}x faster than the peer")
    return 0


if __name__ == "__main__":
    sys.exit(main())
