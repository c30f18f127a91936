# Shared by the project's commands: installing what is missing and building.
# Sourced, not run.

KIV_PACKAGES="meson ninja-build pkg-config g++ libgtk2.0-dev xvfb xauth fonts-dejavu-core locales
  valgrind clang libclang-rt-14-dev
  gobject-introspection libgirepository1.0-dev python3-gi gir1.2-gtk-2.0 valac gi-docgen"

# Installs the Debian packages of KIV_PACKAGES (and any given) that are not
# installed yet; does nothing when all are there.
kiv_ensure_packages() {
  missing=""
  for p in $KIV_PACKAGES "$@"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "ok installed" || missing="$missing $p"
  done
  [ -z "$missing" ] && return 0
  echo "installing the missing Debian packages:$missing"
  if [ "$(id -u)" -eq 0 ]; then SUDO=""; else SUDO="sudo"; fi
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends $missing >/dev/null
}

# kiv_build DIR [meson options...]: configures DIR once, then builds it.
kiv_build() {
  dir="$1"
  shift
  kiv_build_targets "$dir" "" "$@"
}

# kiv_build_targets DIR "TARGETS" [meson options...]: configures DIR once,
# then builds only the named targets (all when TARGETS is empty), showing
# ninja's progress.
kiv_build_targets() {
  dir="$1"
  targets="$2"
  shift 2
  echo "building ${targets:-everything} in $dir"
  if [ ! -f "$dir/build.ninja" ]; then
    echo "  configuring $dir"
    meson setup "$dir" "$@" >/dev/null
  fi
  ninja -C "$dir" $targets
}

# kiv_build_fuzzers DIR: the libFuzzer targets of fuzz/, built with clang
# and the address and undefined-behaviour sanitizers; the library is
# instrumented for coverage too.  Warnings are left to the g++ builds.
kiv_build_fuzzers() {
  targets=""
  for src in fuzz/fuzz-*.cc; do
    targets="$targets fuzz/$(basename "$src" .cc)"
  done
  CC=clang CXX=clang++ kiv_build_targets "$1" "$targets" -Dfuzzing=true -Dwerror=false \
    -Db_sanitize=address,undefined -Db_lundef=false -Dcpp_args=-fsanitize=fuzzer-no-link
}

# Runs a command under a private X server unless told to use the display
# already there (the widget tests need one).  Without -noreset the server
# starts afresh whenever its last client leaves, and a test that connects
# in that moment finds no display.
kiv_with_x() {
  xvfb-run -a -s "-screen 0 1280x1024x24 -noreset" "$@"
}

# The text dump follows the numeric locale; its test needs one whose decimal
# separator is a comma.
kiv_ensure_comma_locale() {
  locale -a 2>/dev/null | grep -qi '^de_DE\.utf-\?8$' && return 0
  if [ "$(id -u)" -eq 0 ]; then SUDO=""; else SUDO="sudo"; fi
  $SUDO localedef -i de_DE -f UTF-8 de_DE.UTF-8 2>/dev/null || echo "no comma locale: its test will skip"
}
