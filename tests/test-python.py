#!/usr/bin/python3
"""libgtkkiv as Python sees it through GObject Introspection, speaking TAP.

The C tests pin the numbers bit for bit; this one checks what only the
introspection data decide: arrays with their lengths, out arguments,
returned strings, lists, nullable arguments.  A chart's picture as boxed
bytes is the Python quick start's part (examples/quickstart.py, run as a
test too).
"""
import sys
import warnings

import gi

gi.require_version('Gtkkiv', '0')
with warnings.catch_warnings():
    # PyGObject warns that GTK+ 2 was not made for introspection.
    warnings.simplefilter('ignore', RuntimeWarning)
    from gi.repository import Gtkkiv

results = []


def check(name, got, want):
    results.append((got == want, name, f'got {got!r}, want {want!r}'))


def data_objects():
    h = Gtkkiv.Histogram.new(4, 0.0, 4.0, None)
    h.set_name('energy')
    changed = []
    h.connect('changed', lambda *_: changed.append(1))
    for v in (0.5, 1.5, 1.5, 3.5, 9.0):  # 9 lies outside: statistics only
        h.fill(v, 1.0)
    h.fill_n([2.5, 2.5], [2.0, 0.5])
    h.fill_n([], None)  # an empty batch emits nothing
    check('contents', h.get_values(), [1.0, 2.0, 2.5, 1.0])
    check('changed once per fill and batch', len(changed), 6)
    check('entries, extremes', (h.entries(), h.min_value(), h.max_value()), (7.5, 0.5, 9.0))
    check('mean', abs(h.mean() - 22.25 / 7.5) < 1e-12, True)
    s = Gtkkiv.Stats.new()
    check('get_stats fills the caller\'s record', (h.get_stats(s), s.props.nc, s.props.xmax),
          (0, 7.5, 9.0))
    check('text dump', h.print_().str,
          '1D 4 0.000000 4.000000\t[nbin xmin xmax]\n"X"\t"energy"\n'
          '0.500000\t1.000000\n1.500000\t2.000000\n2.500000\t2.500000\n3.500000\t1.000000\n')
    other = Gtkkiv.Histogram.new(4, 0.0, 4.0, None)
    check('dump of a list', Gtkkiv.Function.print_list([h, other]).str.split('\n')[1],
          '"X"\t"energy"\t"Function_1"')
    h.rebin(2, 0.0, 4.0)
    check('rebinned contents', h.get_values(), [3.0, 3.5])
    check('getbins', Gtkkiv.getbins(0.0, 10.0, 10, 0.0), (0.0, 10.0, 10, 1.0))
    check('get_order_of_magnitude', Gtkkiv.get_order_of_magnitude(0.0, 5000.0, 3.0), (5.0, 3.0))
    return h


def main():
    data_objects()
    print(f'1..{len(results)}')
    for i, (ok, name, detail) in enumerate(results, 1):
        print(f'{"ok" if ok else "not ok"} {i} - {name}' + ('' if ok else f' # {detail}'))
    return 0 if all(ok for ok, _, _ in results) else 1


if __name__ == '__main__':
    sys.exit(main())
