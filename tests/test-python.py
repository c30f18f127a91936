#!/usr/bin/python3
"""libgtkkiv from Python through GObject Introspection, speaking TAP.

Run by meson test with GI_TYPELIB_PATH and LD_LIBRARY_PATH pointing at the
build; a chart needs an X display (the test command provides Xvfb).
"""
import os
import struct
import sys
import tempfile
import warnings

import gi

gi.require_version('Gtkkiv', '0')
gi.require_version('Gtk', '2.0')
gi.require_version('GdkPixbuf', '2.0')
with warnings.catch_warnings():
    # PyGObject warns that GTK+ 2 was not made for introspection; what the
    # charts need of it works.
    warnings.simplefilter('ignore', RuntimeWarning)
    from gi.repository import GdkPixbuf, Gtk, Gtkkiv

results = []


def check(name, got, want):
    results.append((got == want, name, f'got {got!r}, want {want!r}'))


def data_objects():
    h = Gtkkiv.Histogram.new(4, 0.0, 4.0, None)
    h.set_name('energy')
    changed, ranges = [], []
    h.connect('changed', lambda *_: changed.append(1))
    h.connect('range-changed', lambda *_: ranges.append(1))
    for v in (0.5, 1.5, 1.5, 3.5, 9.0):  # 9 lies outside: statistics only
        h.fill(v, 1.0)
    h.fill_n([2.5, 2.5], [2.0, 0.5])
    h.fill_n([], None)  # an empty batch emits nothing
    check('contents', h.get_values(), [1.0, 2.0, 2.5, 1.0])
    check('changed once per fill and batch', len(changed), 6)

    values = [(0.5, 1.0), (1.5, 1.0), (1.5, 1.0), (3.5, 1.0), (9.0, 1.0), (2.5, 2.0), (2.5, 0.5)]
    entries = sum_x = sum_x2 = 0.0
    for x, w in values:  # the library's order of summation, so exact bits
        entries += w
        sum_x += w * x
        sum_x2 += w * x * x
    mean = sum_x / entries
    check('entries', h.entries(), entries)
    check('mean', h.mean(), mean)
    check('rms (variance)', h.rms(), sum_x2 / entries - mean * mean)
    check('smallest and largest value', (h.min_value(), h.max_value()), (0.5, 9.0))
    s = Gtkkiv.Stats.new()
    check('get_stats', h.get_stats(s), 0)
    check('stats properties', (s.props.nc, s.props.mean_x, s.props.xmax), (entries, mean, 9.0))

    check('text dump', h.print_().str,
          '1D 4 0.000000 4.000000\t[nbin xmin xmax]\n"X"\t"energy"\n'
          '0.500000\t1.000000\n1.500000\t2.000000\n2.500000\t2.500000\n3.500000\t1.000000\n')
    other = Gtkkiv.Histogram.new(4, 0.0, 4.0, None)
    check('dump of a list', Gtkkiv.Function.print_list([h, other]).str.split('\n')[1],
          '"X"\t"energy"\t"Function_1"')

    h.rebin(2, 0.0, 4.0)
    check('rebinned contents', h.get_values(), [3.0, 3.5])
    check('range-changed twice by a rebin', len(ranges), 2)
    check('entries after a rebin', h.entries(), entries + 3.0 + 3.5)

    check('getbins', Gtkkiv.getbins(0.0, 10.0, 10, 0.0), (0.0, 10.0, 10, 1.0))
    check('get_order_of_magnitude', Gtkkiv.get_order_of_magnitude(0.0, 5000.0, 3.0), (5.0, 3.0))
    h.rebin(4, 0.0, 4.0)
    return h


def png_size(path):
    with open(path, 'rb') as f:
        head = f.read(24)
    if head[:8] != b'\x89PNG\r\n\x1a\n' or head[12:16] != b'IHDR':
        return None
    return struct.unpack('>II', head[16:24])


def chart(h):
    ok, _ = Gtk.init_check(sys.argv)
    if not ok:
        return 'GTK+ 2 cannot open a display (DISPLAY=%s)' % os.environ.get('DISPLAY')
    h.set_bin_content(2, 3.0)  # the tallest bin, [2, 3)
    widget = Gtkkiv.Chart1D.new(h)
    widget.filled(True)
    window = Gtk.Window()
    widget.set_size_request(320, 240)
    window.add(widget)
    window.show_all()
    while Gtk.events_pending() or widget.get_allocation().width != 320:
        Gtk.main_iteration()

    with tempfile.TemporaryDirectory() as tmp:
        path = os.path.join(tmp, 'chart.png')
        check('print returns 0', widget.print_(path, 'png'), 0)
        check('PNG of the chart size', png_size(path), (320, 240))
        pixels = GdkPixbuf.Pixbuf.new_from_file(path)

    def rgb(x, y):
        px, py = int(round(x)), int(round(y))
        row = pixels.get_pixels()[py * pixels.get_rowstride():]
        n = pixels.get_n_channels()
        return tuple(row[px * n:px * n + 3])

    # The canvas maps data to pixels: inside the filled tallest bin the
    # curve colour (black), above the lowest bin the background.
    inside = widget.cnvs.transform(2.5, 1.5)
    above = widget.cnvs.transform(0.5, 2.5)
    check('filled bin is black', rgb(inside.x, inside.y), (0, 0, 0))
    results.append((rgb(above.x, above.y) != (0, 0, 0), 'background above a low bin',
                    f'got {rgb(above.x, above.y)}'))
    window.destroy()
    return None


def main():
    h = data_objects()
    skip = chart(h)
    print(f'1..{len(results) + (1 if skip else 0)}')
    for i, (ok, name, detail) in enumerate(results, 1):
        print(f'{"ok" if ok else "not ok"} {i} - {name}' + ('' if ok else f' # {detail}'))
    if skip:
        print(f'ok {len(results) + 1} - chart # SKIP {skip}')
    return 0 if all(ok for ok, _, _ in results) else 1


if __name__ == '__main__':
    sys.exit(main())
