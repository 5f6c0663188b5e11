"""libquentra.velmoUtil from Python.

Records are dicts keyed by the library's field names; planes are NumPy
arrays (int32 fixed point where the library uses it, pixels x 32 for warp
grids). A refusal of the library raises ValueError with its log line.

    >>> import velmoutil
    >>> code, sizes = velmoutil.gensize_init(velmoutil.default_config())
    >>> sizes["main"]["rrz"]["out_w"]
    1920
"""

from ._velmoutil import (  # noqa: F401
    VectWarpMapTrans,
    __version__,
    default_config,
    gensize_init,
    gensize_proc,
    merge_grid,
    power_saving,
    power_saving_stats,
    rotate_mmap,
)
