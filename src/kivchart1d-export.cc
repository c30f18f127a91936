/* kivchart1d-export.cc: the pictures of a chart (a GdkPixbuf and the bytes
 * of PNG, JPEG, PDF, SVG and PostScript files), each drawn afresh, and
 * kiv_chart1d_print, which writes one of them to a file. */
#include "kivchart-protected.h"
#include "kivchart1d-private.h"
#include "kiv-private.h"

#include <cairo-pdf.h>
#include <cairo-ps.h>
#include <cairo-svg.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <unistd.h>

namespace {

/* cairo's write function type, forwarding to the exported one. */
cairo_status_t chart1d_write_to_gstring(void *closure, const unsigned char *data,
                                        unsigned int length) {
  return _kiv_img_to_gstring(static_cast<GString **>(closure), data, length);
}

using StreamSurfaceFactory = cairo_surface_t *(*)(cairo_write_func_t, void *, double, double);

/* The vector forms draw the chart anew into a surface of the picture's
 * size, one point per pixel; destroying the surface finishes the document
 * and flushes it into the string. */
GString *chart1d_vector_picture(KivChart1D *h, StreamSurfaceFactory create) {
  GString *str = g_string_new("");
  int width = 0, height = 0;
  _kiv_chart1d_picture_size(h, &width, &height);
  kiv::SurfacePtr surface(create(chart1d_write_to_gstring, &str, width, height));
  chart1d_draw_canvas(h, cairo_create(surface.get()));
  surface.reset();
  return str;
}

} // namespace

void _kiv_chart1d_picture_size(KivChart1D *h, int *width, int *height) {
  GtkWidget *widget = GTK_WIDGET(h);
  /* Before its first size allocation a chart has no off-screen image and
   * only GTK's placeholder allocation of one pixel: its pictures are then
   * made at the size it requests, which shows the whole chart. */
  if (h->cnvs->surface == NULL) {
    GtkRequisition req = {0, 0};
    gtk_widget_size_request(widget, &req);
    *width = std::max(req.width, 1);
    *height = std::max(req.height, 1);
    return;
  }
  GtkAllocation a;
  gtk_widget_get_allocation(widget, &a);
  *width = std::max(a.width, 1);
  *height = std::max(a.height, 1);
}

cairo_status_t _kiv_img_to_gstring(GString **str, const unsigned char *data,
                                   unsigned int length) {
  *str = g_string_append_len(*str, reinterpret_cast<const gchar *>(data), length);
  return CAIRO_STATUS_SUCCESS;
}

GdkPixbuf *_kiv_get_pixbuf(KivChart1D *h) {
  g_return_val_if_fail(KIV_IS_CHART1D(h), NULL);

  chart1d_draw_canvas(h, NULL);

  kiv::MutexLock lock(&h->cnvs->mutex);
  cairo_surface_t *surface = h->cnvs->surface;
  cairo_surface_flush(surface);
  int width = cairo_image_surface_get_width(surface);
  int height = cairo_image_surface_get_height(surface);
  int stride = cairo_image_surface_get_stride(surface);
  const unsigned char *src = cairo_image_surface_get_data(surface);

  GdkPixbuf *pixbuf = gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, width, height);
  int rowstride = gdk_pixbuf_get_rowstride(pixbuf);
  guchar *dst = gdk_pixbuf_get_pixels(pixbuf);
  /* cairo keeps each pixel as one native-endian 32-bit word, alpha in the
   * top byte; a pixbuf wants the bytes R, G, B, A in memory order. */
  for (int y = 0; y < height; y++) {
    const uint32_t *in = reinterpret_cast<const uint32_t *>(src + y * stride);
    guchar *out = dst + y * rowstride;
    for (int x = 0; x < width; x++) {
      uint32_t p = in[x];
      out[4 * x + 0] = (p >> 16) & 0xff;
      out[4 * x + 1] = (p >> 8) & 0xff;
      out[4 * x + 2] = p & 0xff;
      out[4 * x + 3] = (p >> 24) & 0xff;
    }
  }
  return pixbuf;
}

GString *_kiv_get_png(KivChart1D *h) {
  g_return_val_if_fail(KIV_IS_CHART1D(h), NULL);

  GString *str = g_string_new("");
  chart1d_draw_canvas(h, NULL);
  kiv::MutexLock lock(&h->cnvs->mutex);
  cairo_surface_write_to_png_stream(h->cnvs->surface, chart1d_write_to_gstring, &str);
  return str;
}

GString *_kiv_get_jpeg(KivChart1D *h) {
  g_return_val_if_fail(KIV_IS_CHART1D(h), NULL);

  GString *str = g_string_new("");
  kiv::ObjectPtr<GdkPixbuf> pixbuf(_kiv_get_pixbuf(h));
  gchar *buffer = NULL;
  gsize size = 0;
  GError *error = NULL;
  if (!gdk_pixbuf_save_to_buffer(pixbuf.get(), &buffer, &size, "jpeg", &error, NULL)) {
    printf("Error creating jpeg: %s\n", error != NULL ? error->message : "");
    g_clear_error(&error);
  }
  if (buffer != NULL)
    g_string_append_len(str, buffer, static_cast<gssize>(size));
  g_free(buffer);
  return str;
}

GString *_kiv_get_pdf(KivChart1D *h) {
  g_return_val_if_fail(KIV_IS_CHART1D(h), NULL);
  return chart1d_vector_picture(h, cairo_pdf_surface_create_for_stream);
}

GString *_kiv_get_svg(KivChart1D *h) {
  g_return_val_if_fail(KIV_IS_CHART1D(h), NULL);
  return chart1d_vector_picture(h, cairo_svg_surface_create_for_stream);
}

GString *_kiv_get_eps(KivChart1D *h) {
  g_return_val_if_fail(KIV_IS_CHART1D(h), NULL);
  return chart1d_vector_picture(h, cairo_ps_surface_create_for_stream);
}

int kiv_chart1d_print(KivChart1D *h, const char *file_name, const char *type) {
  g_return_val_if_fail(h != NULL, -1);
  g_return_val_if_fail(KIV_IS_CHART1D(h), -1);
  g_return_val_if_fail(file_name != NULL, -1);
  g_return_val_if_fail(type != NULL, -1);

  FILE *fp = fopen(file_name, "wb");
  if (fp == NULL) {
    printf("Cannot open %s for writing\n", file_name);
    return -1;
  }

  /* Only the five byte-string pictures can be written: any other name,
   * "pixmap" included, is not read at all (which would draw the chart for
   * nothing, or make GLib warn about a property that does not exist). */
  GString *bytes = NULL;
  GParamSpec *pspec = g_object_class_find_property(G_OBJECT_GET_CLASS(h), type);
  if (pspec != NULL && pspec->value_type == G_TYPE_GSTRING && (pspec->flags & G_PARAM_READABLE))
    g_object_get(h, type, &bytes, NULL);

  if (bytes != NULL) {
    fwrite(bytes->str, 1, bytes->len, fp);
    fclose(fp);
    g_string_free(bytes, TRUE);
  } else {
    printf("Error. Very likely invalid picture format: %s\n", type);
    fclose(fp);
    unlink(file_name);
  }
  return 0;
}
