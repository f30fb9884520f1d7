#!/usr/bin/env bash
# Runs the example host on folders made here, and compares its output with the output of
# find and wc. Usage: check.sh BINARY DICTIONARY_FOLDER
set -u
export LC_ALL=C
binary=$(realpath "$1")
german=$(realpath "$2")/filecache_de.zdict
japanese=$(realpath "$2")/filecache_ja.zdict
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

fail()
{
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# Runs the program, through the command in $through: its status is left in
# $status, its output in $work/out and $work/err.
through=()
run()
{
    "${through[@]}" "$binary" "$@" >"$work/out" 2>"$work/err"
    status=$?
}

# Compares the messages to the user, without the frames of alerts, with stdin.
expect_told()
{
    diff - <(sed 's/^| *//; s/ *|$//; /^+-*+$/d; /^$/d' "$work/err") || fail "$1"
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
mkdir "$work/none"
count=$(find "$files" -type f -printf x | wc -c)
bytes=$(find "$files" -type f -exec cat {} + | wc -c)

# All other runs must print the checksum of the first run.
run --threads 1 --budget 1G "$files"
expect_status "everything fits" 0
expect "everything fits" "files held" "$count"
expect "everything fits" "bytes held" "$bytes"
expect "everything fits" "lines read" "$(find "$files" -type f -exec cat {} + | tr -cd '\n' | wc -c)"
expect "everything fits" "purge requests" 0
checksum=$(figure checksum)
[ ${#checksum} = 16 ] || fail "no checksum: '$checksum'"
[ ! -s "$work/err" ] || fail "messages without a reason: $(cat "$work/err")"

# Several threads may pass the budget's check at once, each with a file. The figures of one
# thread are exact. The refused files are the same for any number of threads. Each row: a
# budget, the largest file that fits, and the number of files that do not fit.
for row in 2M:200000:2 3072k:3000000:1 6M:5000001:0 1G:5000001:0; do
    IFS=: read -r budget largest refused <<<"$row"
    for threads in 1 2 7; do
        name="budget $budget, $threads threads"
        run --threads "$threads" --budget "$budget" "$files"
        expect_status "$name" 0
        expect "$name" "files read" "$count"
        expect "$name" "bytes read" "$bytes"
        expect "$name" "unreadable" 0
        expect "$name" "refusals" "$refused"
        [ "$(grep -c 'Unable to allocate' "$work/err")" = $((refused > 0)) ] ||
            fail "$name: told $(cat "$work/err")"
        expect "$name" "checksum" "$checksum"
        over=$(($(figure "peak use") - $(figure "maximum limit")))
        [ "$over" -le $(((threads - 1) * largest)) ] || fail "$name: $over bytes over the limit"
        [ "$budget" = 1G ] || [ "$(figure "bytes purged")" -gt 0 ] || fail "$name: nothing purged"
    done
done

run --threads 1 --budget 2M "$files"
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

# The log holds the lines that are counted, and no leak.
run --threads 2 --budget 2M --log "$work/log" --verbose "$files"
expect_status "log" 0
expect "log" "log lines" "$(wc -l <"$work/log")"
grep -q 'Issuing Purge Request' "$work/log" || fail "no purge request in the log"
! grep MEM_DumpLeaks "$work/log" || fail "blocks were leaked"
grep -q 'refused: .*/beyond 1, 3000000 bytes' "$work/err" || fail "no word of a refused file"
grep -q 'asked to purge' "$work/err" || fail "no word of a purge request"

# Telemetry: each line is an object, and the figures are those that are shown.
run --threads 3 --budget 2M --telemetry "$work/telemetry" "$files"
expect_status "telemetry" 0
python3 - "$work/telemetry" "$count" "$bytes" "$(figure "bytes purged")" <<'END' ||
import json, sys
path, files, size, purged = sys.argv[1:]
lines = [json.loads(line) for line in open(path, encoding="utf-8")]
assert [line["kind"] for line in lines] == ["event", "count", "group"], lines
assert lines[0]["text"] == "threads 3, budget 2097152", lines[0]
assert (lines[1]["part"], lines[1]["count"]) == ("refused", 2), lines[1]
data = lines[2]["data"]
assert (data["files"], data["bytes"], data["bytes_purged"]) == (files, size, purged), data
END
    fail "telemetry: $(cat "$work/telemetry")"

# The files that cannot be read are one alert at the end, in the user's language. Root drops
# the right to read every file.
cd "$work" || exit
mkdir -p locked/folder
printf good >locked/good
printf lost >"locked/$(printf 'lost\nfile')"
chmod 0 locked/folder locked/lost*
[ ! -r locked/folder ] || through=(setpriv --bounding-set=-dac_override,-dac_read_search)
run --threads 1 locked
expect_status "unreadable" 1
expect "unreadable" "unreadable" 2
expect "unreadable" "files read" 1
expect "unreadable" "bytes read" 4
expect_told "unreadable" <<'END'
[warning] File cache
File cache warning: Some files and folders can't be read
Unreadable: 2
1)   locked/folder: Permission denied
2)   locked/lost\nfile: Permission denied
END
chmod 700 locked/folder
run --language en locked
expect_told "one unreadable file" <<'END'
[warning] File cache
File cache warning: A file or folder can't be read
locked/lost\nfile: Permission denied
END
chmod 600 locked/lost*
through=()

# The library reports the first file that the budget cannot hold. The files in the cache are
# kept, since they cannot make room for such a file.
mkdir tight
printf small >tight/a
truncate -s 3000000 tight/b
truncate -s 4000000 tight/c
run --language ja --threads 1 --budget 2M tight
expect_status "Japanese, no room" 0
expect "Japanese, no room" "保持ファイル数" 1
expect "Japanese, no room" "解放バイト数" 0
expect "Japanese, no room" "保持できなかった数" 2
expect_told "Japanese, no room" <<'END'
[note] File cache
File cache: 2.861 MB のメモリを割り当てられません。このフレームのレンダ
リングに必要なメモリを減らすか、RAM を増設してください (12803 / tight/b
の保持)。詳しくは https://u.example/help/memory をご覧ください。
( 0 :: 2 )
END
run --language de --threads 1 --budget 2M tight
grep -q 'File cache: 2,861 MB Speicher' "$work/err" || fail "a number without German marks"

# The memory log lies in the root, which not everybody may write. Its rows have the purges, too.
if [ -w / ]; then
    "$binary" --memory-log 1 --budget 2M "$files" >"$work/out" 2>"$work/err" &
    memory_log=/bc_memory.$!.log
    wait $!
    rows=$(awk -F'\t' 'NR > 2 && NF == 26' "$memory_log" | wc -l)
    [ "$rows" -gt 0 ] && [ "$(wc -l <"$memory_log")" = $((rows + 2)) ] ||
        fail "memory log: $(cat "$memory_log")"
    rm -f "$memory_log"
fi

if [ -w /dev/full ]; then
    "$binary" "$work/none" >/dev/full 2>"$work/err"
    [ $? = 1 ] || fail "lost output isn't noticed"
    run --log /dev/full --budget 2M "$files"
    expect_status "lost log" 1
    run --telemetry /dev/full "$files"
    expect_status "lost telemetry" 1
    grep -q "can't write all of /dev/full" "$work/err" || fail "no word of lost telemetry"
fi

# Wrong usage: status 2, a message about the fault, and no figures.
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
wrong "isn't a folder" "$files/Nothing"
wrong "only one folder" "$files" "$work/none"
wrong "unknown option '--colour'" --colour "$files"
wrong "needs a value" --budget
wrong "--log needs a value" --log= "$files"
wrong "unknown option '--verbose=no'" --verbose=no "$files"
wrong "only one folder can be given, not '-b'" "$files" -- -b
wrong "there is no folder '--threads'" -- --threads
wrong "can't write" --log "$work/missing/log" "$files"
wrong "can't write" --telemetry "$work/missing/telemetry" "$files"
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

# A crash ends in the system's way, after the last call and with its line in the log.
# A sanitizer is kept from taking the signals; its operator new calls no handler, and so
# it doesn't die of that as we do.
crashes="null:11 overflow:11 illegal:4 division:8 exception:6 terminate:6 pure:6 parameter:6"
grep -qE '__(asan|tsan)_init' "$binary" || crashes+=" memory:6"
system_signals=handle_segv=0:handle_sigbus=0:handle_sigfpe=0:handle_sigill=0
for row in $crashes; do
    IFS=: read -r kind signal <<<"$row"
    (
        ulimit -c 0
        export ASAN_OPTIONS=${ASAN_OPTIONS:-}:$system_signals TSAN_OPTIONS=${TSAN_OPTIONS:-}:$system_signals:report_signal_unsafe=0
        run --crash "$kind" --log "$work/log" "$work/none"
        exit "$status"
    ) 2>/dev/null
    status=$?
    expect_status "crash $kind" $((128 + signal))
    [ "$(grep -c 'has failed and ends' "$work/err")" = 1 ] || fail "crash $kind: $(cat "$work/err")"
    grep -q 'Returned from app registered handler' "$work/log" || fail "crash $kind: no log line"
done
[ "$kind" != memory ] || grep -q 'Out of memory. (2147483647K requested)' "$work/err" ||
    fail "no word of memory: $(cat "$work/err")"
wrong "there is no crash 'stack'" --crash stack

run --help
expect_status "help" 0
grep -q '^Usage: filecache' "$work/out" || fail "no help"

# All output is translated. The figures are aligned in the columns of a terminal, where
# some characters take two columns.
translated()
{
    grep -qF -- "$2" "$work/out" "$work/err" || fail "$1: no '$2' in $(cat "$work/out" "$work/err")"
}

labels()
{
    sed 's/  .*//' "$work/out" | sort
}

run "$work/none"
labels >"$work/english"
run --dictionary "$german" --verbose --budget 2M --threads 1 "$files"
expect_status "German" 0
expect "German" "gelesene Dateien" "$count"
expect "German" "gelesene Bytes" "$bytes"
expect "German" "Ablehnungen" 2
[ -n "$(figure Protokollzeilen)" ] || fail "German: no count of log lines"
translated "German" "zur Freigabe von "
translated "German" "abgelehnt: $files/beyond 1, 3000000 Byte"

run "$files" --dictionary "$japanese"
expect_status "Japanese" 0
expect "Japanese" "読み込みファイル数" "$count"
expect "Japanese" "読み込みバイト数" "$bytes"
[ -n "$(figure ログの行数)" ] || fail "Japanese: no count of log lines"
common=$(labels | comm -12 - "$work/english")
[ -z "$common" ] || fail "Japanese: labels in English: $common"
python3 - "$work/out" <<'END' || fail "Japanese: the figures aren't aligned: $(cat "$work/out")"
import re, sys, unicodedata
def width(text):
    return sum(2 if unicodedata.east_asian_width(c) in "WF" else 1 for c in text)
rows = [line for line in open(sys.argv[1], encoding="utf-8") if not re.search("[0-9a-f]{16}", line)]
ends = {width(re.match(r".*?\S +[0-9.]+(?= |$)", row)[0]) for row in rows}
sys.exit(len(rows) < 15 or len(ends) != 1)
END

wrong "unbekannte Option „--colour“ (siehe --help)" --colour --dictionary "$german"
wrong "フォルダー「$work/missing」はありません" --dictionary "$japanese" "$work/missing"
run --dictionary "$german" --help
expect_status "German help" 0
translated "German help" "Aufruf: filecache"

# Each text that is looked up is in brackets in the pseudo-locale.
run --language pseudo --help
expect_status "pseudo-locale" 0
translated "pseudo-locale" "[Ûšàĝé: ƒîļéçàçĥé "
run --language pseudo "$files"
expect_status "pseudo-locale" 0
labels | grep -v '^\[' && fail "pseudo-locale: a label is not looked up"

# Dictionaries are found relative to the program's file.
mkdir -p "$work/installed/bin" "$work/installed/share/u"
cp "$binary" "$work/installed/bin"
cp "$german" "$work/installed/share/u"
binary=$work/installed/bin/filecache
run --language de --help
translated "installed" "Aufruf: filecache"
wrong "can't read $work/installed/share/u/filecache_ja.zdict: No such file" --language ja --help
wrong "the language 'fr' isn't de, en, ja or pseudo" --language fr "$files"
wrong "können nicht zusammen angegeben" --language en --dictionary "$german" "$files"

# The text form does as well. A translation without the places of the English text is not used.
printf '"$$$/QX/FileCache/%s"\r\n' 'Figure/FilesRead=Da#{1B}teien' 'Error/CantWrite=nein' >"$work/texts"
run --dictionary "$work/texts" "$work/none"
expect "text form" 'Da\\x1Bteien' 0
expect "text form" "bytes read" 0
wrong "can't write $work/missing/log: No such" --dictionary "$work/texts" --log "$work/missing/log" "$files"

# A place such as ^1 in a file's name is not replaced. Control characters of a name or a
# text do not reach the terminal.
wrong "can't write $work/missing/^2^1: No such" --log "$work/missing/^2^1" "$files"
wrong "there is no folder '$work/a\\x1Bb'" "$work/$(printf 'a\033b')"

# A dictionary that doesn't serve.
: >"$work/empty"
head -c 1000 "$german" >"$work/cut"
sed 's/^ZString Binary Format./ZString Binary Format\x09/' "$german" >"$work/new version"
truncate -s 65M "$work/huge"
wrong "can't read $work/missing: No such file" --dictionary "$work/missing" "$files"
wrong "can't read $work/none: Is a directory" --dictionary "$work/none" --help
wrong "the dictionary $work/huge is too large" --dictionary "$work/huge" "$files"
for damaged in empty cut "new version"; do
    wrong "the dictionary $work/$damaged is damaged: " --dictionary "$work/$damaged" "$files"
done
wrong "--dictionary needs a file name" --dictionary "" "$files"

[ "$failures" = 0 ] && echo "all fine: $count files, $bytes bytes"
[ "$failures" = 0 ]
