#!/usr/bin/env bash
# Installs a build, moves it, and builds and runs a host against it: with
# find_package, with pkg-config, and with operator new and delete of other origin. Then
# runs the example host from there.
#   check.sh BUILD_FOLDER CXX_COMPILER
set -euo pipefail
build=$1
compiler=$2
here=$(cd "$(dirname "$0")" && pwd)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

expect_greeting() {
    local told
    told=$("$@" 2>"$folder/errors") && [ "$told" = "Guten Tag" ] ||
        { echo "$* printed: $told"; cat "$folder/errors"; exit 1; }
}

DESTDIR=$folder/stage cmake --install "$build" --prefix /opt/u >"$folder/install.log"
mv "$folder/stage/opt/u" "$folder/u"
u=$folder/u

cmake -S "$here" -B "$folder/host" -DCMAKE_PREFIX_PATH="$u" -DCMAKE_CXX_COMPILER="$compiler" \
    >"$folder/configure.log"
cmake --build "$folder/host" >"$folder/build.log" || { cat "$folder/build.log"; exit 1; }
expect_greeting "$folder/host/host" "$folder/host/host_de.zdict"
expect_greeting "$folder/host/host" "$folder/host/plain_de.zdict"
expect_greeting "$folder/host/cpp_host" "$folder/host/host_de.zdict"
"$u/bin/zdict" get "$folder/host/host_de.zdict" /QX/UOverride/LStr/0023 | grep -q "nicht gefunden" ||
    { echo "the library's texts are missing"; exit 1; }
[[ $("$u/bin/memlog" --version) == "memlog "[0-9]* ]] || { echo "memlog does not run"; exit 1; }

libraries=$(dirname "$(find "$u" -name libU.so)")
read -ra flags < <(PKG_CONFIG_PATH=$libraries/pkgconfig pkg-config --cflags --libs u)
"$compiler" -std=c++17 "$here/host.cpp" "${flags[@]}" -Wl,-rpath,"$libraries" -o "$folder/plain"
expect_greeting "$folder/plain" "$folder/host/host_de.zdict"

# operator delete receives only blocks of the operator new in the same module.
expect_own_new() {
    "$@" -std=c++17 "$here/host.cpp" "${flags[@]}" -Wl,-rpath,"$libraries" -o "$folder/own_new"
    expect_greeting "$folder/own_new" "$folder/host/host_de.zdict"
}
expect_own_new "$compiler" "$here/own_new.cpp"
expect_own_new g++ -fsanitize=address
expect_own_new clang++ -fsanitize=address

# Every installed header compiles with nothing but what is installed.
while IFS= read -r header; do
    printf '#include <%s>\n' "${header#"$u/include/u/"}"
done < <(find "$u/include/u" -name '*.h') >"$folder/all.cpp"
"$compiler" -std=c++17 -fsyntax-only "$folder/all.cpp" "${flags[@]}"

mkdir "$folder/files"
echo "a line" >"$folder/files/a.txt"
env -i "$u/bin/filecache" --language de "$folder/files" >"$folder/told" 2>&1 &&
    grep -Eq 'gelesene Dateien +1$' "$folder/told" || { cat "$folder/told"; exit 1; }
# Through a file: where grep ends at its match, a pipe would fail ldd now and then.
ldd "$u/bin/filecache" >"$folder/linked"
grep -q "libU.so.1 => $u/" "$folder/linked" ||
    { echo "the example host doesn't run on the installed library"; exit 1; }
