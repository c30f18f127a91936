#!/usr/bin/python3
"""quickstart.py: a histogram filled in batches, drawn by a chart and saved
as PNG, from Python through GObject Introspection."""
import random
import sys
import warnings

import gi

gi.require_version('Gtkkiv', '0')
gi.require_version('Gtk', '2.0')
with warnings.catch_warnings():
    warnings.simplefilter('ignore', RuntimeWarning)  # PyGObject's word on GTK+ 2
    from gi.repository import Gtk, Gtkkiv

h = Gtkkiv.Histogram.new(100, 0.0, 100.0, None)
for _ in range(100):
    h.fill_n([random.gauss(50.0, 12.0) for _ in range(1000)], None)

chart = Gtkkiv.Chart1D.new(h)
chart.show_stats(True)
window = Gtk.Window()
window.add(chart)
window.set_default_size(600, 400)
window.show_all()
while Gtk.events_pending():
    Gtk.main_iteration()

png = chart.get_picture('png')  # GBytes: bytes for Python
name = sys.argv[1] if len(sys.argv) > 1 else 'quickstart-py.png'
with open(name, 'wb') as f:
    f.write(png.get_data())
print(f'{h.entries():.0f} entries, mean {h.mean():.2f}; picture in {name}')
