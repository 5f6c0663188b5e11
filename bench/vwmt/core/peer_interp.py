#!/usr/bin/python3
"""Times SciPy's LinearNDInterpolator and Matplotlib's LinearTriInterpolator on
the meshes and query grids of vwmt_core_mesh_bench, and compares them with the
library's query loop measured in the same run.

Run with Debian's interpreter (python3-scipy, python3-matplotlib):

    /usr/bin/python3 bench/vwmt/core/peer_interp.py build/bench/vwmt/core/vwmt_core_mesh_bench

The benchmark writes each case (mesh positions, values, queries, triangle
list) to a temporary directory; the peers interpolate the same values at the
same queries. Matplotlib uses exactly the library's triangles; SciPy can only
interpolate on its own Delaunay triangulation of the same vertices. Building
the triangulation and the interpolator is not timed, only evaluation. Both
sides are timed in process CPU time (the benchmark's cpu_time), the best of
several runs, so that other load on the machine counts as little as possible.
"""

import json
import os
import subprocess
import sys
import tempfile
import time

import numpy as np
from scipy.interpolate import LinearNDInterpolator
from scipy.spatial import Delaunay
import matplotlib.tri as mtri

CASES = [
    ("mesh28_query66", "BM_QueryVerticesOpt_Mesh28_Query66", "BM_Sequential_Mesh28_Query66"),
    ("mesh66_query600", "BM_QueryVerticesOpt_Mesh66_Query600", "BM_Sequential_Mesh66_Query600"),
]


def read_case(path):
    with open(path, "rb") as f:
        mesh_w, mesh_h, query_w, query_h = np.frombuffer(f.read(16), dtype="<i4")
        n, q = int(mesh_w * mesh_h), int(query_w * query_h)
        t = 2 * (mesh_w - 1) * (mesh_h - 1)
        xy = np.frombuffer(f.read(8 * n), dtype="<f4").reshape(n, 2)
        values = np.frombuffer(f.read(8 * n), dtype="<f4").reshape(n, 2)
        queries = np.frombuffer(f.read(8 * q), dtype="<f4").reshape(q, 2)
        tris = np.frombuffer(f.read(12 * int(t)), dtype="<i4").reshape(int(t), 3)
    return xy, values, queries, tris


def best_time(fn, repeats):
    fn()  # warm-up (first call builds lazy structures)
    best = float("inf")
    for _ in range(repeats):
        start = time.process_time()
        fn()
        best = min(best, time.process_time() - start)
    return best


def time_peers(xy, values, queries, tris, repeats):
    xy64, values64 = xy.astype(np.float64), values.astype(np.float64)
    qx, qy = queries[:, 0].astype(np.float64), queries[:, 1].astype(np.float64)

    scipy_interp = LinearNDInterpolator(Delaunay(xy64), values64)
    scipy_s = best_time(lambda: scipy_interp(qx, qy), repeats)

    triangulation = mtri.Triangulation(xy64[:, 0], xy64[:, 1], tris.astype(np.int64))
    finder = triangulation.get_trifinder()
    interp_x = mtri.LinearTriInterpolator(triangulation, values64[:, 0], trifinder=finder)
    interp_y = mtri.LinearTriInterpolator(triangulation, values64[:, 1], trifinder=finder)
    mpl_s = best_time(lambda: (interp_x(qx, qy), interp_y(qx, qy)), repeats)
    return scipy_s, mpl_s


def main():
    if len(sys.argv) < 2:
        print(__doc__)
        return 2
    bench = sys.argv[1]
    with tempfile.TemporaryDirectory() as data_dir:
        env = dict(os.environ, VELMO_MESH_BENCH_DATA=data_dir)
        out = subprocess.run(
            [bench, "--benchmark_format=json", "--benchmark_repetitions=5"],
            env=env, check=True, capture_output=True, text=True).stdout
        # Best repetition of each benchmark, as for the peers.
        results = {}
        for b in json.loads(out)["benchmarks"]:
            if b.get("run_type") != "iteration":
                continue
            name = b["run_name"]
            if name not in results or b["cpu_time"] < results[name]["cpu_time"]:
                results[name] = b
        for case, opt_name, seq_name in CASES:
            xy, values, queries, tris = read_case(os.path.join(data_dir, case + ".bin"))
            queries_n = len(queries)
            repeats = 20 if queries_n < 100000 else 5
            scipy_s, mpl_s = time_peers(xy, values, queries, tris, repeats)
            opt, seq = results[opt_name], results[seq_name]
            scale = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}
            opt_ns = opt["cpu_time"] * scale[opt["time_unit"]] / queries_n * 1e9
            seq_ns = seq["cpu_time"] * scale[seq["time_unit"]] / queries_n * 1e9
            scipy_ns, mpl_ns = scipy_s / queries_n * 1e9, mpl_s / queries_n * 1e9
            faster_peer = min(scipy_ns, mpl_ns)
            print(f"{case}: {queries_n} queries, {opt['evals_per_query']:.3f} evaluations/query, "
                  f"{int(opt['lanes'])} lanes")
            print(f"  library Opt (row-parallel) {opt_ns:8.2f} ns/query")
            print(f"  library sequential         {seq_ns:8.2f} ns/query")
            print(f"  SciPy LinearNDInterpolator {scipy_ns:8.2f} ns/query")
            print(f"  Matplotlib LinearTri       {mpl_ns:8.2f} ns/query")
            print(f"  speed-up over the faster peer: {faster_peer / opt_ns:.1f}x "
                  f"(sequential: {faster_peer / seq_ns:.1f}x)")
    return 0


if __name__ == "__main__":
    sys.exit(main())
