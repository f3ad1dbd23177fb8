#!/usr/bin/env bash
# Builds what the Windows cross build links with, from Debian's own sources:
# Debian has no mingw-w64 packages of libxml2, libxslt, SQLite or OpenSSL's
# libcrypto, so their Debian source packages (versions pinned in
# cmake/windows-deps.txt) are fetched with apt-get source and cross-compiled
# here as static libraries.
# nlohmann-json is header-only: the installed Debian headers are copied.
#
# The result goes to a cache outside the clone, keyed by the pins:
#   ${XDG_CACHE_HOME:-~/.cache}/vk/windows-deps/<key>
# so every clone on the machine reuses it. A finished set is never rebuilt;
# an interrupted build leaves nothing behind.
#
#   scripts/windows-deps.sh          install the [windows] packages, build if missing
#   scripts/windows-deps.sh --print  print the cache directory and exit
set -euo pipefail
cd "$(dirname "$0")/.."

host=x86_64-w64-mingw32
pins_file=cmake/windows-deps.txt

declare -A pin=()
key=""
while read -r name version rest; do
  [[ -z "$name" || "$name" == \#* ]] && continue
  [[ -n "$version" && -z "$rest" ]] || { echo "windows-deps: bad line in $pins_file: $name $version $rest" >&2; exit 2; }
  pin[$name]=$version
  key+="${key:+_}$name-$version"
done <"$pins_file"
for name in recipe libxml2 libxslt sqlite3 openssl nlohmann-json3-dev; do
  [ -n "${pin[$name]+x}" ] || { echo "windows-deps: $pins_file does not pin $name" >&2; exit 2; }
done

cache_root=${XDG_CACHE_HOME:-$HOME/.cache}/vk/windows-deps
prefix=$cache_root/$key
if [ "${1:-}" = "--print" ]; then
  echo "$prefix"
  exit 0
fi
[ $# -eq 0 ] || { echo "usage: $0 [--print]" >&2; exit 2; }

scripts/install-deps.sh windows

if [ -f "$prefix/.complete" ]; then
  echo "windows-deps: reusing $prefix"
  exit 0
fi

installed=$(dpkg-query -W -f='${Version}' nlohmann-json3-dev)
if [ "$installed" != "${pin[nlohmann-json3-dev]}" ]; then
  echo "windows-deps: nlohmann-json3-dev $installed is installed but $pins_file pins ${pin[nlohmann-json3-dev]}; update the pin" >&2
  exit 1
fi

mkdir -p "$cache_root"
work=$(mktemp -d "$cache_root/.build-XXXXXX")
trap 'rm -rf "$work"' EXIT
stage=$work/stage

# deb-src for the configured Debian mirror, for this script's apt calls only:
# its own source list, package lists and cache in the work directory, so the
# system's apt configuration and state stay as they were.
apt_dir=$work/apt
mkdir -p "$apt_dir/parts" "$apt_dir/lists/partial" "$apt_dir/cache/archives/partial"
: >"$apt_dir/sources.list"
debian_uri='/debian(-security)?/?$'
for f in /etc/apt/sources.list.d/*.sources; do
  [ -e "$f" ] || continue
  # deb822 stanzas of the Debian archive, turned into deb-src stanzas.
  awk -v RS= -v ORS='\n\n' -v pat="$debian_uri" '
    {
      keep = 0; n = split($0, lines, "\n"); out = ""
      for (i = 1; i <= n; i++) {
        line = lines[i]
        if (line ~ /^URIs:/) { split(substr(line, 6), uris, " "); for (u in uris) if (uris[u] ~ pat) keep = 1 }
        if (line ~ /^Enabled: *no/) { keep = 0; break }
        if (line ~ /^Types:/) line = "Types: deb-src"
        out = out line "\n"
      }
      if (keep) printf "%s\n", out
    }' "$f" >>"$apt_dir/parts/debian-src.sources"
done
for f in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
  [ -e "$f" ] || continue
  awk -v pat="$debian_uri" '$1 == "deb" {
      uri = ($2 ~ /^\[/) ? $3 : $2
      for (i = 2; i <= NF; i++) if ($i ~ /\]$/) { uri = $(i + 1); break }
      if (uri ~ pat) { $1 = "deb-src"; print }
    }' "$f" >>"$apt_dir/sources.list"
done
if ! grep -q . "$apt_dir/sources.list" "$apt_dir/parts/debian-src.sources" 2>/dev/null; then
  echo "windows-deps: no Debian mirror found in the apt configuration" >&2
  exit 1
fi
apt_opts=(-o "Dir::Etc::sourcelist=$apt_dir/sources.list" -o "Dir::Etc::sourceparts=$apt_dir/parts"
  -o "Dir::State::Lists=$apt_dir/lists" -o "Dir::Cache=$apt_dir/cache"
  -o "APT::Sandbox::User=root" -o "Debug::NoLocking=1")
echo "windows-deps: fetching the source packages"
apt-get "${apt_opts[@]}" -qq update
(
  cd "$work"
  for pkg in libxml2 libxslt sqlite3 openssl; do
    if ! apt-get "${apt_opts[@]}" -qq source "$pkg=${pin[$pkg]}" >"$work/$pkg-source.log" 2>&1; then
      cat "$work/$pkg-source.log" >&2
      served=$(apt-cache "${apt_opts[@]}" showsrc "$pkg" 2>/dev/null | sed -n 's/^Version: //p' | tr '\n' ' ')
      echo "windows-deps: $pkg ${pin[$pkg]} cannot be fetched; the mirror serves: ${served:-nothing}" >&2
      echo "windows-deps: pin a served version in $pins_file" >&2
      exit 1
    fi
  done
)

src_dir() { find "$work" -maxdepth 1 -mindepth 1 -type d -name "$1-*" | head -1; }
build_type=$(dpkg-architecture -qDEB_BUILD_GNU_TYPE)
jobs=2
common=(--host="$host" --build="$build_type" --prefix="$stage" --disable-shared --enable-static)
export CC=$host-gcc-posix AR=$host-ar RANLIB=$host-ranlib CFLAGS="-O2 -g0"
# Debian's patches touch the autotools inputs; like Debian's own build, the
# build scripts are regenerated before configuring.
regen() { autoreconf -fi >"$work/$1-autoreconf.log" 2>&1 || { cat "$work/$1-autoreconf.log" >&2; return 1; }; }

echo "windows-deps: libxml2 ${pin[libxml2]}"
(
  cd "$(src_dir libxml2)"
  regen libxml2
  # Only the library: no network, compression, iconv or Python; UTF-8,
  # UTF-16 and Latin-1 are built in.
  ./configure "${common[@]}" --without-python --without-zlib --without-lzma --without-iconv \
    --without-icu --without-http --without-ftp --without-modules >"$work/libxml2-configure.log" 2>&1
  make -j"$jobs" noinst_PROGRAMS= bin_PROGRAMS= install >"$work/libxml2-make.log" 2>&1
) || { tail -n 40 "$work"/libxml2-*.log >&2; exit 1; }

echo "windows-deps: libxslt ${pin[libxslt]} (with libexslt)"
(
  cd "$(src_dir libxslt)"
  regen libxslt
  PKG_CONFIG_LIBDIR=$stage/lib/pkgconfig ./configure "${common[@]}" --with-libxml-prefix="$stage" \
    --without-python --without-crypto --without-debugger --without-plugins >"$work/libxslt-configure.log" 2>&1
  make -j"$jobs" -C libxslt install >"$work/libxslt-make.log" 2>&1
  make -j"$jobs" -C libexslt install >>"$work/libxslt-make.log" 2>&1
  make install-pkgconfigDATA >>"$work/libxslt-make.log" 2>&1
) || { tail -n 40 "$work"/libxslt-*.log >&2; exit 1; }

echo "windows-deps: sqlite3 ${pin[sqlite3]}"
(
  cd "$(src_dir sqlite3)"
  regen sqlite3
  # The single-file source is generated by build-machine tools (lemon,
  # tclsh), then compiled for Windows like any one C file.
  CC=gcc CFLAGS= ./configure --disable-tcl --disable-readline >"$work/sqlite3-configure.log" 2>&1
  make sqlite3.c >"$work/sqlite3-make.log" 2>&1
  # The options of Debian's own build that change what SQL does, so the
  # agent's estate behaves as it does on Linux.
  $CC $CFLAGS -DSQLITE_THREADSAFE=1 -DSQLITE_USE_URI=1 -DSQLITE_SECURE_DELETE \
    -DSQLITE_ENABLE_COLUMN_METADATA -DSQLITE_ALLOW_ROWID_IN_VIEW -DSQLITE_ENABLE_UPDATE_DELETE_LIMIT=1 \
    -DSQLITE_ENABLE_MATH_FUNCTIONS -DSQLITE_LIKE_DOESNT_MATCH_BLOBS -DSQLITE_MAX_VARIABLE_NUMBER=250000 \
    -DSQLITE_MAX_SCHEMA_RETRY=25 -c sqlite3.c -o sqlite3.o >>"$work/sqlite3-make.log" 2>&1
  mkdir -p "$stage/lib/pkgconfig" "$stage/include"
  $AR rcs "$stage/lib/libsqlite3.a" sqlite3.o
  cp sqlite3.h sqlite3ext.h "$stage/include/"
  printf '%s\n' 'prefix=${pcfiledir}/../..' 'libdir=${prefix}/lib' 'includedir=${prefix}/include' '' \
    'Name: SQLite' 'Description: SQL database engine' "Version: $(cat VERSION)" \
    'Libs: -L${libdir} -lsqlite3' 'Cflags: -I${includedir}' >"$stage/lib/pkgconfig/sqlite3.pc"
) || { tail -n 40 "$work"/sqlite3-*.log >&2; exit 1; }

echo "windows-deps: openssl ${pin[openssl]} (libcrypto only)"
(
  cd "$(src_dir openssl)"
  # The agent needs PBKDF2 and random bytes only: modules, engines,
  # protocols and legacy ciphers are left out, and only the library is built.
  ./Configure mingw64 --prefix="$stage" no-shared no-module no-tests no-engine no-dso no-comp \
    no-legacy no-ssl no-dtls no-srp no-ts no-ocsp no-cms no-ct no-cmp no-rfc3779 no-sm2 no-sm3 \
    no-sm4 no-idea no-rc2 no-rc4 no-rc5 no-md4 no-mdc2 no-whirlpool no-camellia no-seed no-bf \
    no-cast no-aria no-sock no-ui-console RC="$host-windres" >"$work/openssl-configure.log" 2>&1
  make -j"$jobs" build_generated >"$work/openssl-make.log" 2>&1
  make -j"$jobs" libcrypto.a >>"$work/openssl-make.log" 2>&1
  mkdir -p "$stage/include/openssl" "$stage/lib"
  cp include/openssl/*.h "$stage/include/openssl/"
  cp libcrypto.a "$stage/lib/"
) || { tail -n 40 "$work"/openssl-*.log >&2; exit 1; }

echo "windows-deps: nlohmann-json ${pin[nlohmann-json3-dev]} headers"
mkdir -p "$stage/include" "$stage/share/cmake"
cp -a /usr/include/nlohmann "$stage/include/"
cp -a /usr/share/cmake/nlohmann_json "$stage/share/cmake/"

# Only libraries, headers and package descriptions are kept, and the
# descriptions name their place relative to themselves, so the set works
# from wherever it is moved.
rm -rf "$stage/bin" "$stage/share/doc" "$stage/share/man" "$stage/share/gtk-doc" \
  "$stage/share/aclocal" "$stage/lib/cmake" "$stage/lib/"*.la "$stage/lib/"*.sh
sed -i "s|^prefix=.*|prefix=\${pcfiledir}/../..|" "$stage/lib/pkgconfig/"*.pc
if grep -rl "$stage" "$stage/lib/pkgconfig" >&2; then
  echo "windows-deps: the package descriptions above still name the build directory" >&2
  exit 1
fi
touch "$stage/.complete"
rm -rf "$prefix"
mv "$stage" "$prefix"
echo "windows-deps: built $prefix"
