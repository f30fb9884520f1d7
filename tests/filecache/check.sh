#!/usr/bin/env bash
# Runs the example host on folders made here, and compares what it tells with
# what find and wc say. Usage: check.sh BINARY
set -u
export LC_ALL=C
binary=$(realpath "$1")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

fail()
{
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# Runs the program: its status is left in $status, its output in $work/out and
# $work/err.
run()
{
    "$binary" "$@" >"$work/out" 2>"$work/err"
    status=$?
}

# The figure of a row of the table.
figure()
{
    sed -n "s/^$1  *\([0-9a-f]*\).*/\1/p" "$work/out"
}

expect()
{
    [ "$(figure "$2")" = "$3" ] || fail "$1: '$2' is '$(figure "$2")', not '$3'"
}

expect_status()
{
    [ "$status" = "$2" ] || { fail "$1: status $status, not $2"; cat "$work/out" "$work/err"; }
}

# Files of every size that matters: none, below the small blocks, odd, larger
# than one read, and two beyond the smallest budget.
make_files()
{
    local number size
    mkdir -p "$1/a/b c/d" "$1/empty folder"
    for number in $(seq 1 300); do
        size=$((number * number * 7 % 60011))
        head -c "$size" <(yes "line of file $number") >"$1/a/$number"
    done
    for number in $(seq 1 40); do
        head -c $((150000 + number)) <(yes "large $number") >"$1/a/b c/d/$number.h"
    done
    head -c 3000000 /dev/zero >"$1/beyond 1"
    head -c 5000001 <(yes beyond) >"$1/a/b c/beyond 2"
    : >"$1/nothing"
    printf x >"$1/$(printf 'odd\nname')"

    # Neither of these is to be followed or read.
    ln -s /usr "$1/link to folder"
    ln -s nothing "$1/link to file"
    ln -s "$1" "$1/a/loop"
    ln -s missing "$1/dangling"
    mkfifo "$1/pipe"
}

files=$work/files
make_files "$files"
count=$(find "$files" -type f -printf x | wc -c)
bytes=$(find "$files" -type f -exec cat {} + | wc -c)

# The checksum of the first run is what all others have to give.
run --threads 1 --budget 1G "$files"
expect_status "everything fits" 0
expect "everything fits" "files held" "$count"
expect "everything fits" "bytes held" "$bytes"
expect "everything fits" "purge requests" 0
checksum=$(figure checksum)
[ ${#checksum} = 16 ] || fail "no checksum: '$checksum'"
[ ! -s "$work/err" ] || fail "messages without a reason: $(cat "$work/err")"

# Several threads may pass the budget's check at once, each with a file; one
# may not, so its figures are exact. Each row is a budget and the largest file
# that it admits.
for row in 2M:200000 3072k:3000000 6M:5000001 1G:5000001; do
    budget=${row%:*}
    for threads in 1 2 7; do
        name="budget $budget, $threads threads"
        run --threads "$threads" --budget "$budget" "$files"
        expect_status "$name" 0
        expect "$name" "files read" "$count"
        expect "$name" "bytes read" "$bytes"
        expect "$name" "unreadable" 0
        expect "$name" "checksum" "$checksum"
        over=$(($(figure "peak use") - $(figure "maximum limit")))
        [ "$over" -le $(((threads - 1) * ${row#*:})) ] || fail "$name: $over bytes over the limit"
        [ "$budget" = 1G ] || [ "$(figure "bytes purged")" -gt 0 ] || fail "$name: nothing purged"
    done
done

run --threads 1 --budget 2M "$files"
expect "one thread" "refusals" 2
[ "$(figure "bytes held")" -le $((2 << 20)) ] || fail "one thread: too much is held"
kept=$(($(figure "bytes held") + $(figure "bytes purged") + 3000000 + 5000001))
[ "$kept" = "$bytes" ] || fail "one thread: held, purged and refused make $kept"

# A changed byte and a changed name both show.
printf y >>"$files/nothing"
run "$files"
[ "$(figure checksum)" != "$checksum" ] || fail "a changed file gives the same checksum"
: >"$files/nothing"
mv "$files/nothing" "$files/Nothing"
run "$files"
[ "$(figure checksum)" != "$checksum" ] || fail "a changed name gives the same checksum"

mkdir "$work/none"
run "$work/none"
expect_status "empty folder" 0
expect "empty folder" "files read" 0

# The log holds the lines that are counted, and no leak.
run --threads 2 --budget 2M --log "$work/log" --verbose "$files"
expect_status "log" 0
expect "log" "log lines" "$(wc -l <"$work/log")"
grep -q 'Issuing Purge Request' "$work/log" || fail "no purge request in the log"
! grep MEM_DumpLeaks "$work/log" || fail "blocks were leaked"
grep -q 'refused: .*/beyond 1, 3000000 bytes' "$work/err" || fail "no word of a refused file"
grep -q 'asked to purge' "$work/err" || fail "no word of a purge request"

# Paths longer than the system takes can't be read, whoever runs this.
long=$(printf 'n%.0s' $(seq 1 200))
cp -r "$work/none" "$work/deep"
printf good >"$work/deep/good"
(
    cd "$work/deep" || exit
    while [ ${#PWD} -lt 3850 ]; do
        mkdir "$long" && cd "$long" || exit
    done
    printf ok >readable
    mkdir "$long$(printf 'd%.0s' $(seq 1 50))" && printf lost >"$long$(printf 'f%.0s' $(seq 1 50))"
)
run "$work/deep"
expect_status "unreadable" 1
expect "unreadable" "unreadable" 2
expect "unreadable" "files read" 2
expect "unreadable" "bytes read" 6
[ "$(grep -c "can't read .*: File name too long" "$work/err")" = 2 ] ||
    fail "unreadable files aren't told: $(cat "$work/err")"

if [ -w /dev/full ]; then
    "$binary" "$work/none" >/dev/full 2>"$work/err"
    [ $? = 1 ] || fail "lost output isn't noticed"
    run --log /dev/full --budget 2M "$files"
    expect_status "lost log" 1
fi

# Wrong usage: status 2, a message that says what is wrong, and no figures.
wrong()
{
    local message=$1
    shift
    run "$@"
    expect_status "$*" 2
    grep -qF -- "$message" "$work/err" || fail "$*: told $(cat "$work/err")"
    [ ! -s "$work/out" ] || fail "$*: figures in spite of it"
}
wrong "there is no folder" "$work/missing"
wrong "there is no folder" ""
wrong "isn't a folder" "$files/Nothing"
wrong "only one folder" "$files" "$work/none"
wrong "unknown option '--colour'" --colour "$files"
wrong "unknown option '-v'" -v
wrong "needs a value" --budget
wrong "can't write" --log "$work/missing/log" "$files"
for budget in 0 1M 2097151; do
    wrong "is below 2M" --budget "$budget" "$files"
done
for budget in -1 -16M "" M 16X 16MB 1.5G " 16M" lots 1e9; do
    wrong "isn't a size" --budget "$budget" "$files"
done
for budget in 18446744073709551615 18446744073709551616 99999999999999999999 17179869184G 4294967297G; do
    wrong "is too large" --budget "$budget" "$files"
done
for threads in 0 -1 257 four 4x "" 18446744073709551617; do
    wrong "isn't 1 to 256" --threads "$threads" "$files"
done

run --help
expect_status "help" 0
grep -q '^Usage: filecache' "$work/out" || fail "no help"

[ "$failures" = 0 ] && echo "all fine: $count files, $bytes bytes"
[ "$failures" = 0 ]
