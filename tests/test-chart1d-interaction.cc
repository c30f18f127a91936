/* Placeholder: the chart's mouse, keys, monitoring, menu and dialogs. */
#include "kiv-test.h"

int main(int argc, char **argv) {
  kivtest::init(&argc, &argv);
  return g_test_run();
}
