/* kivchart1d-export.cc: the pictures of a chart (a GdkPixbuf and the bytes
 * of PNG, JPEG, PDF, SVG and PostScript files), each drawn afresh;
 * kiv_chart1d_print, which writes one of them to a file; and the dialogs of
 * the popup menu that save the picture or the data under a name the user
 * chooses. */
#include "kivchart-protected.h"
#include "kivchart1d-private.h"
#include "function2d.h"
#include "kiv-private.h"

#include <cairo-pdf.h>
#include <cairo-ps.h>
#include <cairo-svg.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/* A file written whole or not at all: when the bytes cannot all be written
 * (a full disk, a size limit) the file is removed again, so that no
 * truncated picture or table is left behind.  Only a regular file is ever
 * removed, never a device or a pipe that was named. */
class OutputFile {
public:
  OutputFile(const char *name, const char *mode) : name_(name), fp_(fopen(name, mode)) {
    struct stat st;
    regular_ = fp_ != NULL && fstat(fileno(fp_), &st) == 0 && S_ISREG(st.st_mode);
  }
  ~OutputFile() {
    if (fp_ != NULL)
      discard();
  }
  OutputFile(const OutputFile &) = delete;
  OutputFile &operator=(const OutputFile &) = delete;

  bool is_open() const { return fp_ != NULL; }

  /* Writes the bytes and closes the file; false when it could not be
   * written whole, and then it is gone. */
  bool write_all(const char *data, size_t len) {
    bool ok = fwrite(data, 1, len, fp_) == len;
    ok = fclose(fp_) == 0 && ok;
    fp_ = NULL;
    if (!ok)
      remove_file();
    return ok;
  }

  /* Closes and removes the file. */
  void discard() {
    fclose(fp_);
    fp_ = NULL;
    remove_file();
  }

private:
  void remove_file() {
    if (regular_)
      unlink(name_);
  }

  const char *name_;
  FILE *fp_;
  bool regular_ = false;
};

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

/* The file chooser of the browse buttons: the default name when the user
 * cancels it. */
gchar *on_btn_get_filename(const char *title, const char *default_name, const char **filters) {
  gchar *name = get_file_name(title, FALSE, filters);
  return name != NULL ? name : g_strdup(default_name);
}

void on_btn_print_browse(GtkWidget *, GtkEntry *entry) {
  static const char *filters[] = {"PNG files|*.png", "JPEG Files|*.jpg", "JPEG Files|*.jpeg",
                                  "PDF Files|*.pdf", "PS Files|*.eps",   "SVG Files|*.svg",
                                  "All|*",           NULL};
  kiv::CharPtr name(on_btn_get_filename("Open file", "histogram.png", filters));
  gtk_entry_set_text(entry, name.get());
}

void on_btn_as_text_browse(GtkWidget *, GtkEntry *entry) {
  static const char *filters[] = {"*.txt", "*.*", NULL};
  kiv::CharPtr name(on_btn_get_filename("Output text file", "data.txt", filters));
  gtk_entry_set_text(entry, name.get());
}

gint ask_a_yes_no_question(const char *title, const char *text) {
  GtkWidget *dialog = _kiv_chart1d_new_dialog(title);
  GtkWidget *label = gtk_label_new(text);
  gtk_box_pack_start(GTK_BOX(gtk_dialog_get_content_area(GTK_DIALOG(dialog))), label, TRUE, TRUE,
                     10);
  gtk_widget_show_all(dialog);
  gint response = gtk_dialog_run(GTK_DIALOG(dialog));
  gtk_widget_hide(dialog);
  gtk_widget_destroy(dialog);
  return response;
}

/* The frame of both save dialogs: a "File name" label over an entry with a
 * browse button beside it, in a box that a dialog may add to.  The dialog
 * is hidden and destroyed with this object, whatever the answer was. */
class FileNameDialog {
public:
  FileNameDialog(const char *title, GCallback browse) : dialog_(_kiv_chart1d_new_dialog(title)) {
    box_ = gtk_vbox_new(FALSE, 4);
    gtk_box_pack_start(GTK_BOX(gtk_dialog_get_content_area(GTK_DIALOG(dialog_))), box_, TRUE,
                       TRUE, 0);
    GtkWidget *label = gtk_label_new("File name");
    gtk_misc_set_alignment(GTK_MISC(label), 0.0f, 0.5f);
    gtk_box_pack_start(GTK_BOX(box_), label, FALSE, FALSE, 0);

    GtkWidget *row = gtk_hbox_new(FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box_), row, TRUE, TRUE, 0);
    entry_ = gtk_entry_new();
    gtk_box_pack_start(GTK_BOX(row), entry_, TRUE, TRUE, 0);
    GtkWidget *button = gtk_button_new_from_stock(GTK_STOCK_OPEN);
    gtk_box_pack_start(GTK_BOX(row), button, FALSE, FALSE, 0);
    g_signal_connect(button, "clicked", browse, entry_);
  }
  ~FileNameDialog() {
    gtk_widget_hide(dialog_);
    gtk_widget_destroy(dialog_);
  }
  FileNameDialog(const FileNameDialog &) = delete;
  FileNameDialog &operator=(const FileNameDialog &) = delete;

  GtkWidget *box() const { return box_; }
  const gchar *file_name() const { return gtk_entry_get_text(GTK_ENTRY(entry_)); }

  /* True when the user accepted the dialog. */
  bool run() {
    gtk_widget_show_all(dialog_);
    return gtk_dialog_run(GTK_DIALOG(dialog_)) == GTK_RESPONSE_ACCEPT;
  }

private:
  GtkWidget *dialog_;
  GtkWidget *box_;
  GtkWidget *entry_;
};

/* The name a picture is written under: when its suffix is missing or
 * names another format, the user is asked whether the format's suffix
 * should be appended. */
gchar *chart1d_picture_name(const char *name, const char *format) {
  gint answer;
  switch (_kiv_picture_suffix_check(name, format)) {
  case KIV_SUFFIX_FITS:
    return g_strdup(name);
  case KIV_SUFFIX_MISSING:
    answer = ask_a_yes_no_question(
        "No file suffix", "The file does not have a suffix.\nDo you want me to add the right one ?");
    break;
  default:
    answer = ask_a_yes_no_question("No or wrong file suffix",
                                   "The file does not have or have the wrong\n"
                                   "suffix. Do you want me to add the right one ?");
    break;
  }
  if (answer != GTK_RESPONSE_ACCEPT)
    return g_strdup(name);
  return _kiv_picture_name_with_suffix(name, format);
}

} // namespace

/* The suffix is what follows the last "." anywhere in the name,
 * directories included; any suffix that contains "jpg" is taken for every
 * format, as the dialog has always done. */
int _kiv_picture_suffix_check(const char *name, const char *format) {
  const char *dot = strrchr(name, '.');
  if (dot == NULL)
    return KIV_SUFFIX_MISSING;
  kiv::CharPtr suffix(g_ascii_strdown(dot + 1, -1));
  if (strstr(suffix.get(), format) != NULL || strstr(suffix.get(), "jpg") != NULL)
    return KIV_SUFFIX_FITS;
  return KIV_SUFFIX_WRONG;
}

gchar *_kiv_picture_name_with_suffix(const char *name, const char *format) {
  if (strstr(format, "jpeg") != NULL)
    return g_strdup_printf("%s.jpg", name);
  return g_strdup_printf("%s.%s", name, format);
}

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

  OutputFile out(file_name, "wb");
  if (!out.is_open()) {
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

  if (bytes == NULL) {
    printf("Error. Very likely invalid picture format: %s\n", type);
    out.discard();
    return 0;
  }
  bool written = out.write_all(bytes->str, bytes->len);
  g_string_free(bytes, TRUE);
  /* A picture that could not be written whole is not there at all. */
  if (!written) {
    printf("Cannot write %s\n", file_name);
    return -1;
  }
  return 0;
}

GtkWidget *_kiv_chart1d_new_dialog(const char *title) {
  GtkWidget *dialog = gtk_dialog_new_with_buttons(
      title, NULL, GtkDialogFlags(GTK_DIALOG_MODAL | GTK_DIALOG_DESTROY_WITH_PARENT),
      GTK_STOCK_OK, GTK_RESPONSE_ACCEPT, GTK_STOCK_CANCEL, GTK_RESPONSE_REJECT, NULL);
  gtk_window_set_type_hint(GTK_WINDOW(dialog), GDK_WINDOW_TYPE_HINT_DIALOG);
  return dialog;
}

void on_kiv_print(GtkWidget *, KivChart1D *h) {
  static const char *const formats[] = {"png", "jpeg", "pdf", "svg", "eps"};
  FileNameDialog dialog("Save Histogram image", G_CALLBACK(on_btn_print_browse));
  GtkWidget *combo = gtk_combo_box_text_new();
  for (const char *f : formats)
    gtk_combo_box_text_append_text(GTK_COMBO_BOX_TEXT(combo), f);
  gtk_combo_box_set_active(GTK_COMBO_BOX(combo), 0);
  gtk_box_pack_start(GTK_BOX(dialog.box()), combo, FALSE, FALSE, 0);
  if (!dialog.run())
    return;

  kiv::CharPtr format(gtk_combo_box_text_get_active_text(GTK_COMBO_BOX_TEXT(combo)));
  kiv::CharPtr name(chart1d_picture_name(dialog.file_name(), format.get()));
  /* The format is one of the chart's byte pictures, so this writes it or
   * says that the file cannot be opened. */
  kiv_chart1d_print(h, name.get(), format.get());
}

void on_kiv_as_text(GtkWidget *, KivChart1D *h) {
  FileNameDialog dialog("Save Histogram as text", G_CALLBACK(on_btn_as_text_browse));
  if (!dialog.run())
    return;

  const gchar *name = dialog.file_name();
  OutputFile out(name, "w");
  if (!out.is_open()) {
    g_warning("Could not open output file %s\n", name);
    return;
  }
  GString *text = h->func != NULL && KIV_IS_FUNCTION2D(h->func)
                      ? kiv_function_print(h->func)
                      : kiv_function_print_list(h->curves);
  /* Curves binned differently, or none at all, have no common table: the
   * file just opened is not left behind empty. */
  if (text == NULL) {
    g_warning("%s: the curves of this chart have no common table; %s not written", G_STRFUNC,
              name);
    out.discard();
    return;
  }
  bool written = out.write_all(text->str, text->len);
  g_string_free(text, TRUE);
  if (!written)
    g_warning("Could not write output file %s\n", name);
}

gchar *get_file_name(const char *title, gboolean for_open, const char **filters) {
  GtkWidget *dialog = gtk_file_chooser_dialog_new(
      title, NULL, for_open ? GTK_FILE_CHOOSER_ACTION_OPEN : GTK_FILE_CHOOSER_ACTION_SAVE,
      GTK_STOCK_CANCEL, GTK_RESPONSE_CANCEL, GTK_STOCK_OPEN, GTK_RESPONSE_ACCEPT, NULL);
  GtkFileChooser *chooser = GTK_FILE_CHOOSER(dialog);
  for (const char **f = filters; f != NULL && *f != NULL; f++) {
    GtkFileFilter *filter = gtk_file_filter_new();
    const char *bar = strchr(*f, '|');
    if (bar != NULL) {
      kiv::CharPtr label(g_strndup(*f, static_cast<gsize>(bar - *f)));
      gtk_file_filter_set_name(filter, label.get());
      gtk_file_filter_add_pattern(filter, bar + 1);
    } else {
      gtk_file_filter_add_pattern(filter, *f);
    }
    gtk_file_chooser_add_filter(chooser, filter);
  }

  gchar *name = NULL;
  if (gtk_dialog_run(GTK_DIALOG(dialog)) == GTK_RESPONSE_ACCEPT)
    name = gtk_file_chooser_get_filename(chooser);
  gtk_widget_destroy(dialog);
  return name;
}

G_DEFINE_QUARK(kiv-chart-error-quark, kiv_chart_error)

GBytes *kiv_chart1d_get_picture(KivChart1D *chart, const char *format, GError **error) {
  g_return_val_if_fail(KIV_IS_CHART1D(chart), NULL);
  g_return_val_if_fail(format != NULL, NULL);
  g_return_val_if_fail(error == NULL || *error == NULL, NULL);

  static const struct {
    const char *name;
    GString *(*get)(KivChart1D *);
  } kFormats[] = {{"png", _kiv_get_png},
                  {"jpeg", _kiv_get_jpeg},
                  {"pdf", _kiv_get_pdf},
                  {"svg", _kiv_get_svg},
                  {"eps", _kiv_get_eps}};
  for (const auto &f : kFormats) {
    if (strcmp(format, f.name) != 0)
      continue;
    GString *bytes = f.get(chart);
    gsize len = bytes->len;
    return g_bytes_new_take(g_string_free(bytes, FALSE), len);
  }
  g_set_error(error, KIV_CHART_ERROR, KIV_CHART_ERROR_UNKNOWN_FORMAT,
              "unknown picture format \"%s\": use png, jpeg, pdf, svg or eps", format);
  return NULL;
}
