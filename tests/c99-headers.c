/* Compiled, not run: the umbrella header must build as plain C99. */
#include <gtkkiv.h>

int main(void) {
  KivFunction *f = kiv_function_new(10, 0.0, 1.0, NULL);
  g_object_unref(f);
  return 0;
}
