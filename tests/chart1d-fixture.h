/* chart1d-fixture.h: what the interactive chart tests share: a chart in a
 * toplevel window, mouse and key events sent through GTK's own event path,
 * and a driver that answers the modal dialogs the chart runs. */
#ifndef CHART1D_FIXTURE_H
#define CHART1D_FIXTURE_H

#include "kiv-test.h"

#include <functional>
#include <string>
#include <vector>

namespace kivtest {

inline void drain() {
  while (gtk_events_pending())
    gtk_main_iteration();
}

/* Runs the main loop for about ms milliseconds. */
inline void spin(int ms) {
  gint64 end = g_get_monotonic_time() + ms * 1000;
  while (g_get_monotonic_time() < end) {
    drain();
    g_usleep(1000);
  }
}

inline void assert_text_at(const char *where, const std::string &got, const std::string &want) {
  if (got != want)
    g_error("%s: \"%s\", expected \"%s\"", where, got.c_str(), want.c_str());
}
#define assert_text(got, want) kivtest::assert_text_at(G_STRLOC, (got), (want))

/* A histogram of n bins over [lo, hi) holding 1, 2, ... n. */
inline KivHistogram *ramp_histogram(int n, double lo, double hi) {
  KivHistogram *h = kiv_histogram_new(n, lo, hi, NULL);
  for (int i = 0; i < n; i++)
    kiv_histogram_set_bin_content(h, i, i + 1);
  return h;
}

/* The test programs share one X server, where windows open at the
 * top-left corner.  Some tests read their windows back from the screen, or
 * count the exposes that the X server sends when a window is covered and
 * uncovered: a program that calls this opens its windows (dialogs too) in
 * a corner of its own, and its menus, which open at the pointer, there as
 * well. */
inline GdkGravity corner = GDK_GRAVITY_NORTH_WEST;

inline void corner_position(int *x, int *y) {
  GdkScreen *screen = gdk_screen_get_default();
  bool east = corner == GDK_GRAVITY_NORTH_EAST || corner == GDK_GRAVITY_SOUTH_EAST;
  bool south = corner == GDK_GRAVITY_SOUTH_WEST || corner == GDK_GRAVITY_SOUTH_EAST;
  *x = east ? gdk_screen_get_width(screen) - 1 : 0;
  *y = south ? gdk_screen_get_height(screen) - 1 : 0;
}

inline void keep_to_corner(GdkGravity gravity) {
  corner = gravity;
  int x, y;
  corner_position(&x, &y);
  /* Menus open at the pointer: beside the windows, not over them. */
  gdk_display_warp_pointer(gdk_display_get_default(), gdk_screen_get_default(),
                           x == 0 ? 100 : x - 200, y == 0 ? 300 : y - 560);
  g_type_class_unref(g_type_class_ref(GTK_TYPE_WINDOW));
  g_signal_add_emission_hook(
      g_signal_lookup("show", GTK_TYPE_WIDGET), 0,
      [](GSignalInvocationHint *, guint, const GValue *params, gpointer) -> gboolean {
        GObject *w = G_OBJECT(g_value_get_object(&params[0]));
        if (GTK_IS_WINDOW(w) && GTK_WINDOW(w)->type == GTK_WINDOW_TOPLEVEL) {
          int x, y;
          corner_position(&x, &y);
          GtkRequisition req;
          gtk_widget_size_request(GTK_WIDGET(w), &req);
          gtk_window_move(GTK_WINDOW(w), x == 0 ? 0 : x + 1 - req.width,
                          y == 0 ? 0 : y + 1 - req.height);
        }
        return TRUE;
      },
      NULL, NULL);
}

/* A chart shown in a toplevel window, allocated and drawn once. */
struct Shown : Toplevel {
  KivChart1D *chart;

  Shown(KivFunction *f, int width, int height) : Shown(kiv_chart1d_new(f), width, height) {}
  Shown(GtkWidget *w, int width, int height) : Toplevel(w, width, height), chart(KIV_CHART1D(w)) {
    for (int i = 0; i < 400 && chart->cnvs->xstp == 0.0; i++) {
      drain();
      g_usleep(5000);
    }
    g_assert_cmpfloat(chart->cnvs->xstp, !=, 0.0);
  }
};

/* Pointer and key events as the X server delivers them, with the modifier
 * state given. */
template <typename E>
E &pointer_event(E &e, KivChart1D *h, double x, double y, guint state) {
  e.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(GTK_WIDGET(h))));
  e.send_event = TRUE;
  e.time = GDK_CURRENT_TIME;
  e.x = x;
  e.y = y;
  e.state = state;
  e.device = gdk_device_get_core_pointer();
  return e;
}

inline void send(GdkEvent *ev) {
  gtk_main_do_event(ev);
  gdk_event_free(ev);
}

inline void send_button(KivChart1D *h, GdkEventType type, guint button, double x, double y,
                        guint state = 0) {
  GdkEvent *ev = gdk_event_new(type);
  pointer_event(ev->button, h, x, y, state).button = button;
  send(ev);
}

inline void press(KivChart1D *h, guint button, double x, double y, guint state = 0) {
  send_button(h, GDK_BUTTON_PRESS, button, x, y, state);
}

/* The state of a release names the button that goes up. */
inline void release(KivChart1D *h, guint button, double x, double y, guint state = 0) {
  send_button(h, GDK_BUTTON_RELEASE, button, x, y, state | (GDK_BUTTON1_MASK << (button - 1)));
}

inline void motion(KivChart1D *h, double x, double y, guint state = 0) {
  GdkEvent *ev = gdk_event_new(GDK_MOTION_NOTIFY);
  pointer_event(ev->motion, h, x, y, state).is_hint = FALSE;
  send(ev);
}

/* A key for the toplevel window, which hands it to its focus widget. */
inline void send_key(GtkWidget *toplevel, guint keyval, guint state = 0) {
  GdkEvent *ev = gdk_event_new(GDK_KEY_PRESS);
  ev->key.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(toplevel)));
  ev->key.send_event = TRUE;
  ev->key.keyval = keyval;
  ev->key.state = state;
  ev->key.string = g_strdup("");
  send(ev);
}

inline void find_all(GtkWidget *w, GType type, std::vector<GtkWidget *> *out) {
  if (G_TYPE_CHECK_INSTANCE_TYPE(w, type))
    out->push_back(w);
  if (GTK_IS_CONTAINER(w)) {
    GList *children = gtk_container_get_children(GTK_CONTAINER(w));
    for (GList *l = children; l != NULL; l = l->next)
      find_all(GTK_WIDGET(l->data), type, out);
    g_list_free(children);
  }
}

inline GtkWidget *find_one(GtkWidget *w, GType type) {
  std::vector<GtkWidget *> found;
  find_all(w, type, &found);
  g_assert_cmpuint(found.size(), ==, 1);
  return found[0];
}

inline GtkWidget *find_button(GtkWidget *w, const char *stock) {
  std::vector<GtkWidget *> buttons;
  find_all(w, GTK_TYPE_BUTTON, &buttons);
  for (GtkWidget *b : buttons)
    if (g_strcmp0(gtk_button_get_label(GTK_BUTTON(b)), stock) == 0)
      return b;
  g_error("no %s button", stock);
}

/* Clicks from an idle callback: a click may run a dialog of its own, which
 * must not run inside the driver's callback. */
inline void click_later(GtkWidget *button) {
  g_idle_add_full(
      G_PRIORITY_DEFAULT_IDLE,
      [](gpointer b) -> gboolean {
        gtk_button_clicked(GTK_BUTTON(b));
        return FALSE;
      },
      g_object_ref(button), g_object_unref);
}

/* A file chooser checks a typed name asynchronously before it answers,
 * and drops a click that comes while it still loads the folder it was
 * given: its button is clicked again every half second until it answers
 * (the dialog is hidden or gone). */
inline void respond_later(GtkWidget *dialog, int response) {
  GtkWidget *button = gtk_dialog_get_widget_for_response(GTK_DIALOG(dialog), response);
  if (!GTK_IS_FILE_CHOOSER_DIALOG(dialog)) {
    click_later(button);
    return;
  }
  struct Pending {
    GtkWidget *dialog, *button;
  };
  Pending *p = new Pending{dialog, GTK_WIDGET(g_object_ref(button))};
  g_object_add_weak_pointer(G_OBJECT(dialog), reinterpret_cast<gpointer *>(&p->dialog));
  click_later(button);
  g_timeout_add(500, [](gpointer data) -> gboolean {
    Pending *p = static_cast<Pending *>(data);
    if (p->dialog != NULL && gtk_widget_get_visible(p->dialog)) {
      gtk_button_clicked(GTK_BUTTON(p->button));
      return TRUE;
    }
    if (p->dialog != NULL)
      g_object_remove_weak_pointer(G_OBJECT(p->dialog), reinterpret_cast<gpointer *>(&p->dialog));
    g_object_unref(p->button);
    delete p;
    return FALSE;
  }, p);
}

inline std::string title_of(GtkWidget *w) {
  const char *t = gtk_window_get_title(GTK_WINDOW(w));
  return t != NULL ? t : "";
}

/* Answers the dialogs that the chart runs, in the order expected: each
 * step waits for a shown dialog of its title and acts on it.  A dialog no
 * step expects, or one that does not come within ten seconds, fails the
 * test rather than leave it hanging in a modal loop.  A step made with
 * back_to acts again on a dialog answered before, once it is the only one
 * shown (the dialogs it ran are gone). */
class DialogScript {
public:
  using Action = std::function<void(GtkWidget *dialog)>;

  DialogScript() : poll_(g_timeout_add(10, poll, this)), started_(g_get_monotonic_time()) {}
  ~DialogScript() {
    g_source_remove(poll_);
    if (next_ != steps_.size())
      g_error("the dialog \"%s\" never came", steps_[next_].title.c_str());
  }
  DialogScript(const DialogScript &) = delete;
  DialogScript &operator=(const DialogScript &) = delete;

  DialogScript &then(const char *title, Action act) {
    steps_.push_back({title, std::move(act), false});
    return *this;
  }
  DialogScript &back_to(const char *title, Action act) {
    steps_.push_back({title, std::move(act), true});
    return *this;
  }

private:
  struct Step {
    std::string title;
    Action act;
    bool again;
  };

  static gboolean poll(gpointer data) {
    DialogScript *s = static_cast<DialogScript *>(data);
    GtkWidget *fresh = NULL, *last = NULL;
    int shown = 0;
    GList *tops = gtk_window_list_toplevels();
    for (GList *l = tops; l != NULL; l = l->next) {
      if (!GTK_IS_DIALOG(l->data) || !gtk_widget_get_visible(GTK_WIDGET(l->data)))
        continue;
      shown++;
      last = GTK_WIDGET(l->data);
      if (g_object_get_data(G_OBJECT(last), "kivtest-answered") == NULL)
        fresh = last;
    }
    g_list_free(tops);

    Step *step = s->next_ < s->steps_.size() ? &s->steps_[s->next_] : NULL;
    if (fresh != NULL && (step == NULL || step->again || step->title != title_of(fresh)))
      g_error("unexpected dialog \"%s\"", title_of(fresh).c_str());
    if (fresh == NULL && step != NULL && step->again && shown == 1 && title_of(last) == step->title)
      fresh = last;
    if (fresh != NULL) {
      g_object_set_data(G_OBJECT(fresh), "kivtest-answered", s);
      s->started_ = g_get_monotonic_time();
      s->next_++;
      step->act(fresh);
    } else if (step != NULL && g_get_monotonic_time() - s->started_ > 30 * G_USEC_PER_SEC) {
      /* Generous: a file chooser can take many seconds to appear while the
       * rest of the suite keeps both cores busy; a real hang still fails
       * well inside the test's own time limit. */
      g_error("waited in vain for the dialog \"%s\"", step->title.c_str());
    }
    return TRUE;
  }

  std::vector<Step> steps_;
  size_t next_ = 0;
  guint poll_;
  gint64 started_;
};

inline std::string item_label(GtkWidget *item) {
  GtkWidget *child = gtk_bin_get_child(GTK_BIN(item));
  return child != NULL && GTK_IS_LABEL(child) ? gtk_label_get_text(GTK_LABEL(child)) : "";
}

inline GtkWidget *menu_item(GtkWidget *menu, const char *label) {
  GtkWidget *found = NULL;
  GList *items = gtk_container_get_children(GTK_CONTAINER(menu));
  for (GList *l = items; l != NULL; l = l->next)
    if (item_label(GTK_WIDGET(l->data)) == label)
      found = GTK_WIDGET(l->data);
  g_list_free(items);
  if (found == NULL)
    g_error("no menu item \"%s\"", label);
  return found;
}

/* The popup menu on screen (not a submenu), or NULL. */
inline GtkWidget *shown_menu() {
  GtkWidget *found = NULL;
  GList *tops = gtk_window_list_toplevels();
  for (GList *l = tops; l != NULL; l = l->next) {
    GtkWidget *child = gtk_bin_get_child(GTK_BIN(l->data));
    if (child != NULL && GTK_IS_MENU(child) && gtk_widget_get_visible(GTK_WIDGET(l->data)) &&
        gtk_menu_get_attach_widget(GTK_MENU(child)) == NULL)
      found = child;
  }
  g_list_free(tops);
  return found;
}

/* Opens the chart's menu with the right button.  A menu needs the pointer,
 * which another program on the same X server (a test running beside this
 * one) may hold for a moment: GTK then does not show the menu, and the
 * user, here the test, presses again. */
inline GtkWidget *open_menu(KivChart1D *h) {
  for (int i = 0; i < 2000; i++) {
    press(h, 3, 10, 10);
    if (GtkWidget *menu = shown_menu())
      return menu;
    spin(5);
  }
  g_error("the menu could not grab the pointer");
}

/* Chooses an item as the user does: each submenu on the path opened by
 * selecting its item (again while another program holds the pointer, as
 * for the menu itself), then the item activated.  Returns when the item's
 * action, dialogs included, is over and the menu gone. */
inline void choose(GtkWidget *menu, std::initializer_list<const char *> path) {
  GtkWidget *shell = menu;
  const char *const *p = path.begin();
  for (; p + 1 != path.end(); ++p) {
    GtkWidget *item = menu_item(shell, *p);
    GtkWidget *submenu = gtk_menu_item_get_submenu(GTK_MENU_ITEM(item));
    for (int i = 0; !gtk_widget_get_mapped(submenu); i++) {
      if (i == 2000)
        g_error("the submenu \"%s\" could not grab the pointer", *p);
      if (i > 0) {
        gtk_menu_shell_deselect(GTK_MENU_SHELL(shell));
        spin(5);
      }
      gtk_menu_shell_select_item(GTK_MENU_SHELL(shell), item);
    }
    shell = submenu;
  }
  gtk_menu_shell_activate_item(GTK_MENU_SHELL(shell), menu_item(shell, *p), TRUE);
  drain();
}

inline void choose(KivChart1D *h, std::initializer_list<const char *> path) {
  choose(open_menu(h), path);
}

} // namespace kivtest

#endif /* CHART1D_FIXTURE_H */
