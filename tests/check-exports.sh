#!/bin/sh
# Fails when the shared object exports a name that is not part of the
# library's public interface.
set -eu
lib="$1"
# AddressSanitizer adds an "__odr_asan." indicator beside every exported
# variable; it is the sanitizer's, not the library's.
bad=$(nm -D --defined-only "$lib" | awk '{print $3}' | grep -v -E '^__odr_asan[.]' |
  grep -v -E '^(kiv_|_kiv_(draw_string|get_eps|get_jpeg|get_layout_extent|get_pango_layout|get_pdf|get_pixbuf|get_png|get_svg|img_to_gstring)$|getbins$|get_order_of_magnitude$|canvas_|get_file_name$|get_value_for_label$|itmData$|chart1d_get_double$|gauge_get_phi$|gauge_paint$)' || true)
if [ -n "$bad" ]; then
  echo "unexpected exports:"
  echo "$bad"
  exit 1
fi
echo "exports ok: $(nm -D --defined-only "$lib" | wc -l) symbols"
