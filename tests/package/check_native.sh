#!/usr/bin/env bash
# Unpacks the ZIP file of the build for Windows, builds a host against the unpacked tree with
# find_package, and runs the host and the example host from there.
#   check_native.sh BUILD_FOLDER TOOLCHAIN_FILE
set -euo pipefail
build=$1
toolchain=$2
here=$(cd "$(dirname "$0")" && pwd)
wine=$here/../../scripts/wine
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

(cd "$folder" && cpack -G ZIP --config "$build/CPackConfig.cmake" >cpack.log 2>&1) ||
    { cat "$folder/cpack.log"; exit 1; }
(cd "$folder" && cmake -E tar xf "$folder"/*.zip)
u=$(dirname "$(dirname "$(find "$folder" -name libU.dll -not -path '*/_CPack_Packages/*')")")

cmake -S "$here" -B "$folder/host" -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
    -DU_DIR="$u/lib/cmake/U" >"$folder/configure.log" 2>&1 || { cat "$folder/configure.log"; exit 1; }
cmake --build "$folder/host" >"$folder/build.log" 2>&1 || { cat "$folder/build.log"; exit 1; }
for host in host cpp_host; do
    told=$(WINEPATH="z:$u/bin" "$wine" "$folder/host/$host.exe" "$folder/host/host_de.zdict")
    [ "${told%$'\r'}" = "Guten Tag" ] || { echo "$host printed: $told"; exit 1; }
done

mkdir "$folder/files"
echo "a line" >"$folder/files/a.txt"
"$wine" "$u/bin/filecache.exe" --language de "$folder/files" >"$folder/told" 2>&1 &&
    tr -d '\r' <"$folder/told" | grep -Eq 'gelesene Dateien +1$' || { cat "$folder/told"; exit 1; }

# Our DLLs, as they are shipped: the bytes, and the DLLs that they import.
for name in libU libUplatform; do
    echo "$name.dll: $(stat -c %s "$u/bin/$name.dll") bytes; imports" \
        $(x86_64-w64-mingw32-objdump -p "$u/bin/$name.dll" | sed -n 's/.*DLL Name: //p')
done
# The programs need no DLLs but the system's and those of the package.
for file in "$u"/bin/*.exe "$u"/bin/*.dll; do
    x86_64-w64-mingw32-objdump -p "$file" | sed -n 's/.*DLL Name: //p'
done | sort -u | while read -r dll; do
    [ -e "$u/bin/$dll" ] || [ -e "/usr/lib/x86_64-linux-gnu/wine/x86_64-windows/${dll,,}" ] ||
        { echo "$dll is missing"; exit 1; }
done
