#!/usr/bin/env bash
# Installs a built tree into a temporary prefix, as a package would, and uses
# it from outside: the installed tetherhost lists a sample, a small CMake
# project finds the package and imports a sample through the installed
# server, and a program built with pkg-config's flags links.
#
#   InstallAndConsume.sh BUILD_DIR SOURCE_DIR CXX
set -euo pipefail
build="$1"
source="$2"
cxx="$3"

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"

cmake --install "$build" --prefix "$prefix" >/dev/null
libdir="$(dirname "$(find "$prefix" -name 'libTetherMedia.so' -print -quit)")"
examples="$prefix/share/tethermedia/examples"

fail() { echo "packaging: $*" >&2; exit 1; }

# Nothing installed may point back into the build tree.
for file in "$prefix/bin/tetherhost" "$prefix/bin/tether-server" "$libdir"/lib*.so.*.*.*; do
  runpath="$(readelf -d "$file" | sed -n 's/.*(RUNPATH).*\[\(.*\)\]/\1/p')"
  case "$runpath" in
    '$ORIGIN'*) ;;
    *) fail "$file has RUNPATH '$runpath', not relative to \$ORIGIN" ;;
  esac
done
readelf -d "$libdir/libTetherMedia.so" | grep -q 'SONAME.*libTetherMedia\.so\.0\.' ||
  fail "libTetherMedia.so has no versioned SONAME"

# The server is found beside the libraries, not through the environment.
unset TETHER_SERVER_EXECUTABLE
"$prefix/bin/tetherhost" list "$examples/simple.marlp" | grep -q 'Simple 1080p25' ||
  fail "the installed tetherhost could not list a sample"

cmake -S "$source/tests/packaging/consumer" -B "$work/consumer" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/consumer" >/dev/null
output="$("$work/consumer/consumer" "$examples/simple.marlp")"
echo "$output"
grep -q 'frame 0: 1920 x 1080' <<<"$output" || fail "the consumer did not import the sample"

export PKG_CONFIG_PATH="$libdir/pkgconfig"
[ "$(pkg-config --modversion tethermedia)" = "$(pkg-config --modversion tether)" ] || fail "pkg-config versions differ"
cat >"$work/prefs.cpp" <<'CPP'
#include <TetherMedia/Prefs.h>
int main() { return TetherMedia::SourceIDToPrefs(kilncore::utility::Guid::CreateUnique()).GetSize() > 0 ? 0 : 1; }
CPP
# shellcheck disable=SC2046
"$cxx" -std=c++20 "$work/prefs.cpp" -o "$work/prefs" $(pkg-config --cflags --libs tethermedia) -Wl,-rpath,"$libdir"
"$work/prefs" || fail "a program built with pkg-config's flags did not run"
echo "packaging: installed, found, linked and imported from $prefix"
