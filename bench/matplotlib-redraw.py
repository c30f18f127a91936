"""matplotlib-redraw.py: how long matplotlib's Agg backend takes to redraw
a figure of 800 x 600 pixels of the data that kiv-bench hands over, for the
drawing figures of kiv-bench.  Run by kiv-bench, which times our charts on
the same data.

    matplotlib-redraw.py stairs FILE LOW HIGH REPS   (FILE: bin contents)
    matplotlib-redraw.py pcolormesh FILE N REPS      (FILE: N x N cells, rows of x)

FILE holds native doubles.  The figure is drawn once untimed (imports,
fonts, caches), then REPS times; the milliseconds of each timed redraw are
printed on one line, so that interpreter start-up is not counted."""
import sys
import time

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
import numpy as np  # noqa: E402


def main(argv):
    kind, path = argv[1], argv[2]
    data = np.fromfile(path, dtype=np.float64)
    fig = plt.figure(figsize=(8, 6), dpi=100)
    ax = fig.add_subplot()
    if kind == "stairs":
        low, high, reps = float(argv[3]), float(argv[4]), int(argv[5])
        ax.stairs(data, np.linspace(low, high, data.size + 1))
    elif kind == "pcolormesh":
        n, reps = int(argv[3]), int(argv[4])
        ax.pcolormesh(data.reshape(n, n))
    else:
        raise SystemExit("unknown kind " + kind)
    if fig.canvas.get_width_height() != (800, 600):
        raise SystemExit("figure is not 800 x 600 pixels")
    fig.canvas.draw()
    ms = []
    for _ in range(reps):
        t0 = time.perf_counter()
        fig.canvas.draw()
        ms.append((time.perf_counter() - t0) * 1e3)
    print(" ".join("%.3f" % t for t in ms))


if __name__ == "__main__":
    main(sys.argv)
