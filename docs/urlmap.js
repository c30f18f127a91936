// Where the reference links the types of the libraries it depends on.
// GTK+ 2 and GDK 2 have no reference in this format, so their types are
// not linked.
baseURLs = [
    ['GLib', 'https://docs.gtk.org/glib/'],
    ['GObject', 'https://docs.gtk.org/gobject/'],
    ['Gio', 'https://docs.gtk.org/gio/'],
    ['Pango', 'https://docs.gtk.org/Pango/'],
    ['PangoCairo', 'https://docs.gtk.org/PangoCairo/'],
    ['GdkPixbuf', 'https://docs.gtk.org/gdk-pixbuf/'],
]
