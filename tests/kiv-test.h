/* kiv-test.h: small helpers shared by the test programs. */
#ifndef KIV_TEST_H
#define KIV_TEST_H

#include <gtkkiv.h>
#include <cmath>
#include <initializer_list>

/* The library logs under its own domain; GLib's property system under
 * "GLib-GObject". */
#define KIV_LOG_DOMAIN "Gtkkiv"

/* Expects one critical from the library whose text matches the glob. */
#define kiv_expect_critical(glob) \
  g_test_expect_message(KIV_LOG_DOMAIN, G_LOG_LEVEL_CRITICAL, (glob))
#define kiv_expect_warning(glob) \
  g_test_expect_message(KIV_LOG_DOMAIN, G_LOG_LEVEL_WARNING, (glob))

namespace kivtest {

/* Counts emissions of a no-argument signal. */
struct Counter {
  int n = 0;
  static void bump(gpointer, gpointer data) { static_cast<Counter *>(data)->n++; }
  gulong connect(gpointer instance, const char *signal) {
    return g_signal_connect(instance, signal, G_CALLBACK(bump), this);
  }
};

} // namespace kivtest

#endif /* KIV_TEST_H */
