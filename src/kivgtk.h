/* kivgtk.h: GTK+ 2 for the widget headers of libgtkkiv. */
#ifndef KIV_GTK_H
#define KIV_GTK_H

/* GTK+ 2's headers use GLib types that later GLib releases mark as
 * deprecated; that is no concern of the code that includes ours, which may
 * well build with warnings as errors. */
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#endif
#include <gtk/gtk.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

#endif /* KIV_GTK_H */
