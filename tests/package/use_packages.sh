# Uses the installed packages in the folder above this script, as an ordinary user would: builds and
# runs hosts and the programs of documents, with CMake and with pkg-config, and runs the tools.
#   use_packages.sh DOCUMENT...
set -euo pipefail
cd "$(dirname "$0")/.."

fail() {
    echo "$*"
    exit 1
}
quietly() {
    "$@" >log 2>&1 || { cat log; fail "$* has failed"; }
}
# The last line is expected, as a regular expression.
expect() {
    local pattern=$1 told
    shift
    told=$("$@" 2>errors) || { cat errors; fail "$* has failed: $told"; }
    [[ ${told##*$'\n'} =~ ^$pattern$ ]] || fail "$* printed $told instead of $pattern"
}
cmake_build() {
    quietly cmake -G Ninja -S "$1" -B "$1/build"
    quietly cmake --build "$1/build"
}
pkg_config_build() {
    # shellcheck disable=SC2046 # the flags are words
    quietly g++ -std=c++17 -g "$1" $(pkg-config --cflags --libs u) -o "$2"
}

cmake_build package
for host in host cpp_host; do
    expect "Guten Tag" "package/build/$host" package/build/host_de.zdict
    pkg_config_build "package/$host.cpp" "plain_$host"
    expect "Guten Tag" "./plain_$host" package/build/host_de.zdict
done

count=$(python3 -B package/document_programs.py programs "$@")
[[ $count =~ ^[1-9] ]] || fail "the documents have no programs"
cmake_build programs
mkdir work
for source in programs/*.cpp; do
    program=$(basename "$source" .cpp)
    pkg_config_build "$source" work/plain
    (
        cd work
        quietly "../programs/build/$program"
        quietly ./plain
    )
done

# The demonstration, with a picture of its memory.
filecache --language de --memory-plot plot.svg /usr/include >told
grep -Eq "gelesene Dateien +[1-9]" told || { cat told; fail "filecache has read no files"; }
grep -q "<svg" plot.svg || fail "memlog has drawn nothing"
for tool in filecache zdict memlog; do
    expect "$tool [0-9]+\.[0-9]+\.[0-9]+" "$tool" --version
done

# The memory log, which only the administrator can write in the root folder.
pkg_config_build package/debug_host.cpp debug_host
mkdir logs
[ "$(id -u)" -eq 0 ] || [ "$(./debug_host | sed 's/[0-9]*\.log/N.log/')" = \
    "13 /bc_memory.N.log Permission denied" ] || fail "the birth does not tell the path of the log"
expect "0 $PWD/logs/bc_memory\.[0-9]+\.log .*" ./debug_host "$PWD/logs"
expect " *1 +[0-9]+ .*" memlog logs/*.log

# gdb loads the printers with the library.
gdb -batch -ex "break Stop" -ex run -ex up -ex "print title" -ex "u threads" \
    --args ./debug_host "$PWD/logs" >told 2>&1 </dev/null || { cat told; fail "gdb has failed"; }
grep -q '= u"Grüße"$' told && grep -Eq " main, UI$" told || { cat told; fail "gdb has no printers"; }
echo "$count of the documents"
