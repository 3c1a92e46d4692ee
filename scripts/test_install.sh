#!/usr/bin/env bash
# Installs the build into a temporary prefix and checks what a caller gets:
#   - the shared library with its soname links, exporting what the public
#     headers declare and nothing from the library's internals;
#   - every public header compiling alone with only -I PREFIX/include (Qt
#     Core's include folders too for the headers that hold Qt types);
#   - the projectdb tool running from the prefix;
#   - the example in examples/ built and run once through
#     find_package(gnr_projectdb CONFIG) and once through pkg-config.
# Exits non-zero with a message naming the first thing that is wrong; the
# temporary folder is removed either way.
#   BUILD_DIR=build scripts/test_install.sh     (the build must exist)
set -euo pipefail
cd "$(dirname "$0")/.."
SOURCE_DIR="$PWD"
BUILD_DIR="${BUILD_DIR:-build}"

fail() {
    echo "test_install: FAILED: $*" >&2
    exit 1
}
step() { echo "test_install: $*"; }

[ -f "$BUILD_DIR/CMakeCache.txt" ] || fail "no configured build in $BUILD_DIR (run scripts/build.sh first)"
for tool in cmake pkg-config nm readelf c++ make; do
    command -v "$tool" >/dev/null 2>&1 || fail "'$tool' is not installed (scripts/setup.sh installs it)"
done

WORK="$(mktemp -d "${TMPDIR:-/tmp}/gnr_test_install.XXXXXX")"
trap 'rm -rf "$WORK"' EXIT
PREFIX="$WORK/prefix"
JOBS="$(nproc)"

# ---- install
step "installing $BUILD_DIR into a temporary prefix"
cmake --install "$BUILD_DIR" --prefix "$PREFIX" >"$WORK/install.log" 2>&1 ||
    { cat "$WORK/install.log" >&2; fail "cmake --install"; }

PC_FILE="$(find "$PREFIX" -name gnr_projectdb.pc -print -quit)"
[ -n "$PC_FILE" ] || fail "no gnr_projectdb.pc installed"
LIBDIR="$(dirname "$(dirname "$PC_FILE")")"
CONFIG_FILE="$(find "$PREFIX" -name gnr_projectdbConfig.cmake -print -quit)"
[ -n "$CONFIG_FILE" ] || fail "no gnr_projectdbConfig.cmake installed"
[ -f "$(dirname "$CONFIG_FILE")/gnr_projectdbConfigVersion.cmake" ] || fail "no gnr_projectdbConfigVersion.cmake installed"
grep -q 'find_dependency(Qt5' "$CONFIG_FILE" || fail "the package config does not look for Qt5 Core"
grep -q 'find_dependency(SQLite3' "$CONFIG_FILE" || fail "the package config does not look for SQLite3"

export PKG_CONFIG_PATH="$(dirname "$PC_FILE")"
VERSION="$(pkg-config --modversion gnr_projectdb)" || fail "pkg-config cannot read gnr_projectdb.pc"
MAJOR="${VERSION%%.*}"
[ "$(pkg-config --variable=includedir gnr_projectdb)" -ef "$PREFIX/include" ] ||
    fail "gnr_projectdb.pc points at $(pkg-config --variable=includedir gnr_projectdb), not at the prefix"

# ---- the library and its soname links
step "checking libgnr_projectdb.so $VERSION in ${LIBDIR#"$WORK"/}"
REAL="$LIBDIR/libgnr_projectdb.so.$VERSION"
[ -f "$REAL" ] && [ ! -L "$REAL" ] || fail "libgnr_projectdb.so.$VERSION is missing"
[ -L "$LIBDIR/libgnr_projectdb.so.$MAJOR" ] || fail "the soname link libgnr_projectdb.so.$MAJOR is missing"
[ -L "$LIBDIR/libgnr_projectdb.so" ] || fail "the development link libgnr_projectdb.so is missing"
[ "$LIBDIR/libgnr_projectdb.so.$MAJOR" -ef "$REAL" ] || fail "libgnr_projectdb.so.$MAJOR does not lead to the library"
[ "$LIBDIR/libgnr_projectdb.so" -ef "$REAL" ] || fail "libgnr_projectdb.so does not lead to the library"
SONAME="$(readelf -d "$REAL" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')"
[ "$SONAME" = "libgnr_projectdb.so.$MAJOR" ] || fail "the library's soname is '$SONAME', not libgnr_projectdb.so.$MAJOR"

# ---- exported symbols against the public headers
INCLUDE="$PREFIX/include/gnr_projectdb"
[ -d "$INCLUDE" ] || fail "no public headers in PREFIX/include/gnr_projectdb"
nm -D --defined-only "$REAL" | awk '{print $3}' | c++filt >"$WORK/exported.txt"
cat "$INCLUDE"/*.h "$INCLUDE"/*.inc >"$WORK/headers.txt"
# Every function that a public header marks GNR_API is exported ...
grep -hE 'GNR_API' "$INCLUDE"/*.h | grep -v '^[[:space:]]*#' |
    grep -oE 'GNR_API[^;(]*[A-Za-z_][A-Za-z0-9_]*[[:space:]]*\(' |
    sed -E 's/[[:space:]]*\($//; s/.*[^A-Za-z0-9_]//' | sort -u >"$WORK/declared_functions.txt"
[ -s "$WORK/declared_functions.txt" ] || fail "found no GNR_API functions in the public headers"
missing=()
while read -r name; do
    grep -qE "(^|[^A-Za-z0-9_])$name(\(|\[abi:|$)" "$WORK/exported.txt" || missing+=("$name")
done <"$WORK/declared_functions.txt"
[ ${#missing[@]} -eq 0 ] || fail "declared GNR_API but not exported: ${missing[*]}"
# ... and every exported name of the library's own comes from a public header
# (template instances of the standard library that involve exported types are
# exported with them and are left out here).
sed -E 's/^(typeinfo name for|typeinfo for|vtable for|VTT for|guard variable for) //' "$WORK/exported.txt" |
    grep -vE '^([^ (]+ )?(std::|__gnu_cxx::)|^(_init|_fini)$' |
    sed -E 's/[(<[].*//; s/::.*//' | sort -u >"$WORK/exported_names.txt"
# The table definitions YxJobsDef_<table> are declared for every table of the
# schema list (T(<table>) in jobs_schema.inc) by one macro.
leaked=()
while read -r name; do
    grep -qw -- "$name" "$WORK/headers.txt" && continue
    case "$name" in
    YxJobsDef_*) grep -q "YxJobsDef_##t" "$WORK/headers.txt" &&
        grep -qE "T\(${name#YxJobsDef_}\)" "$INCLUDE/jobs_schema.inc" && continue ;;
    esac
    leaked+=("$name")
done <"$WORK/exported_names.txt"
[ ${#leaked[@]} -eq 0 ] || fail "exported but in no public header: ${leaked[*]}"
step "all $(wc -l <"$WORK/declared_functions.txt") declared functions exported, no internal symbol exported"

# ---- every public header compiles alone
QT_CFLAGS="$(pkg-config --cflags Qt5Core) -fPIC"  # Qt 5 asks its callers for -fPIC
# Whether a header, or a public header it includes, includes a Qt header.
needs_qt() {
    local h="$1" inc
    grep -qE '^[[:space:]]*#[[:space:]]*include[[:space:]]*<Q' "$INCLUDE/$h" && return 0
    for inc in $(sed -nE 's/^[[:space:]]*#[[:space:]]*include[[:space:]]*"gnr_projectdb\/([^"]+)".*/\1/p' "$INCLUDE/$h"); do
        [ "$inc" != "$h" ] && needs_qt "$inc" && return 0
    done
    return 1
}
mkdir -p "$WORK/headers"
QT_HEADERS=()
for path in "$SOURCE_DIR"/gnr_projectdb/include/gnr_projectdb/*.h; do
    h="$(basename "$path")"
    [ -f "$INCLUDE/$h" ] || fail "public header $h is not installed"
    printf '#include "gnr_projectdb/%s"\n' "$h" >"$WORK/headers/$h.cpp"
    if needs_qt "$h"; then
        : >"$WORK/headers/$h.qt"
        QT_HEADERS+=("$h")
    fi
done
compile_header() {
    local h="$1" extra=""
    [ -f "$WORK/headers/$h.qt" ] && extra="$QT_CFLAGS"
    # shellcheck disable=SC2086
    if ! c++ -std=c++17 -fsyntax-only -Wall -Wextra -Werror -I "$PREFIX/include" $extra \
            "$WORK/headers/$h.cpp" >"$WORK/headers/$h.log" 2>&1; then
        echo "test_install: public header $h does not compile alone:" >&2
        head -20 "$WORK/headers/$h.log" >&2
        return 1
    fi
}
export -f compile_header
export WORK PREFIX QT_CFLAGS
step "compiling each public header alone (with Qt Core: ${QT_HEADERS[*]:-none})"
(cd "$WORK/headers" && ls -- *.h.cpp) | sed 's/\.cpp$//' |
    xargs -n 1 -P "$JOBS" bash -c 'compile_header "$0"' ||
    fail "a public header does not compile alone (see above)"

# ---- the tool
step "running the installed projectdb"
TOOL_OUT="$(env -u LD_LIBRARY_PATH "$PREFIX/bin/projectdb" --version 2>&1)" ||
    fail "projectdb --version from the prefix: $TOOL_OUT"
case "$TOOL_OUT" in *"$VERSION"*) ;; *) fail "projectdb --version printed '$TOOL_OUT', not version $VERSION" ;; esac

check_example_output() {
    local how="$1" out="$2"
    grep -q 'Mitosis screen' <<<"$out" && grep -q 'Drug response' <<<"$out" ||
        fail "the example built with $how printed: $out"
}

# ---- the example through find_package
step "building the example with find_package(gnr_projectdb CONFIG)"
GENERATOR=()
command -v ninja >/dev/null 2>&1 && GENERATOR=(-G Ninja)
cmake -S "$SOURCE_DIR/examples" -B "$WORK/example-cmake" "${GENERATOR[@]}" -DCMAKE_PREFIX_PATH="$PREFIX" \
    >"$WORK/example-cmake.log" 2>&1 || { cat "$WORK/example-cmake.log" >&2; fail "configuring the example"; }
cmake --build "$WORK/example-cmake" >>"$WORK/example-cmake.log" 2>&1 ||
    { cat "$WORK/example-cmake.log" >&2; fail "building the example with find_package"; }
OUT="$("$WORK/example-cmake/projects" 2>&1)" || fail "the example built with find_package failed: $OUT"
check_example_output find_package "$OUT"

# ---- the example through pkg-config
step "building the example with pkg-config --cflags --libs gnr_projectdb"
make -s -C "$SOURCE_DIR/examples" OUT="$WORK/projects-pkgconfig" >"$WORK/example-make.log" 2>&1 ||
    { cat "$WORK/example-make.log" >&2; fail "building the example with pkg-config"; }
OUT="$(LD_LIBRARY_PATH="$LIBDIR" "$WORK/projects-pkgconfig" 2>&1)" || fail "the example built with pkg-config failed: $OUT"
check_example_output pkg-config "$OUT"

step "passed"
