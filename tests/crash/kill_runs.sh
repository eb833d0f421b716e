#!/usr/bin/env bash
# Kills `brinora batch` at random moments and checks what it leaves behind.
#
#   tests/crash/kill_runs.sh BRINORA_BINARY COUNT [SEED] [LINES]
#
# A batch input of LINES (300000) samples is run once without interruption (the
# reference output), then COUNT times in each of the three output modes, each
# run killed with SIGKILL after a random delay between 0 and 1.2 times the
# reference run's time:
#   new       the output is absent or exactly the reference;
#   --force   the output is the previous file or exactly the reference, and
#             keeps its permission bits (0640);
#   --append  the previous bytes are intact; after the next run (every other
#             kill `brinora repair` first, else the next append's own
#             rollback) the file is exactly the previous bytes and one
#             complete run.
# and five more with a journal that is not the run's own or a file that
# changed after the kill, and a signal instead of a kill:
#   stale     the output is removed after a killed append and made anew (its
#             inode may be the old one's): the next append adds one run to
#             the new file and cuts nothing;
#   planted   a journal claiming the header's length, planted by the user
#             "nobody" in the sticky folder of the output, is never applied:
#             after the next run the file is the previous bytes and one run;
#   edited    a line added by the user after a cut-short append stops the
#             next append (nothing cut; `repair --discard` keeps every byte);
#   moved     the output is moved to another folder after the kill: repair
#             or the next append there still undo the cut-short run;
#   SIGTERM   the run ends with status 143 and the previous bytes (or, when
#             the signal came after the commit and the run says it kept its
#             records, the whole run), or 0 and the whole run, with no
#             journal or temporary file left.
# Exit status 0 when every check held, 1 otherwise; one line per failure.
set -u

if [ $# -lt 2 ]; then
    echo "usage: $0 BRINORA_BINARY COUNT [SEED] [LINES]" >&2
    exit 2
fi
BRINORA=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
COUNT=$2
SEED=${3:-$$}
LINES=${4:-300000}
OPTIONS=(--constants 13 --khso4 1 --ph-scale 1 --flux 1)

WORK=$(mktemp -d "${TMPDIR:-/tmp}/brinora-crash-XXXXXX")
trap 'rm -rf "$WORK"' EXIT
export BRINORA_SETTINGS_FILE="$WORK/settings.ini"
mkdir "$WORK/out" "$WORK/moved" "$WORK/shared"
chmod 0755 "$WORK"
chmod 1777 "$WORK/shared"
OUT="$WORK/out/cruise_Brinora.csv"
failures=0

fail() {
    echo "FAIL $*"
    failures=$((failures + 1))
}

# The batch input: the benchmark's cruise maker when it was built, else awk.
INPUT="$WORK/cruise.csv"
MAKER="$(dirname "$BRINORA")/../bench/brinora_make_cruise"
if [ -x "$MAKER" ]; then
    "$MAKER" "$LINES" "$INPUT" 7 || exit 1
else
    awk -v lines="$LINES" 'BEGIN {
        print "SampleID,Name,Time,Date,Latitude,Longitude,Salinity,Temperature,Pressure,Phosphate,Silicate," \
              "TempOut,PressureOut,TA,TCO2,pH,fCO2,pCO2,pCO2air,Windspeed,Comment"
        for (n = 1; n <= lines; n++)
            printf "%d,St %d,10:00,1/2/2023,%.2f,%.2f,%.1f,%.1f,%d,1,5,,,%d,%d,,,,400,7,ok\n",
                   n, n / 24, -60 + (n % 120), -180 + (n % 360), 33 + (n % 30) / 10, 2 + (n % 25),
                   (n % 24) * 250, 2250 + (n % 100), 1950 + (n % 120)
    }' > "$INPUT"
fi

now() { date +%s%N; }

# The reference output of one uninterrupted run.
REFERENCE="$WORK/reference.csv"
started=$(now)
if ! "$BRINORA" batch "$INPUT" -o "$REFERENCE" "${OPTIONS[@]}" > /dev/null 2> "$WORK/reference.err"; then
    echo "the reference run failed:" >&2
    cat "$WORK/reference.err" >&2
    exit 1
fi
RUN_NS=$(( $(now) - started ))
BODY="$WORK/body.csv"         # the reference's records, without the header
tail -n +2 "$REFERENCE" > "$BODY"
OLD="$WORK/old.csv"           # a previous output: the header and five records
head -n 6 "$REFERENCE" > "$OLD"
echo "reference run: $(wc -l < "$REFERENCE") lines, $((RUN_NS / 1000000)) ms; seed $SEED"

# A delay in seconds, uniform between 0 and 1.2 reference runs.
delay() {
    awk -v seed="$1" -v ns="$RUN_NS" 'BEGIN { srand(seed); printf "%.4f", rand() * 1.2 * ns / 1e9 }'
}

# Runs brinora batch with the given flags, kills it after the delay; sets
# `status` (137 when killed). SIGNAL (KILL) and TARGET ($OUT) may be set.
run_and_kill() {
    local wait_for=$1
    shift
    "$BRINORA" batch "$INPUT" -o "${TARGET:-$OUT}" "${OPTIONS[@]}" "$@" > /dev/null 2>> "$WORK/runs.err" &
    local pid=$!
    sleep "$wait_for"
    kill "-${SIGNAL:-KILL}" "$pid" 2> /dev/null
    # (no "Killed" notice from the shell)
    { wait "$pid"; } 2> /dev/null
    status=$?
}

# Names beside the output other than the output itself. Hidden files of a
# run killed between naming its file and the rename are complete copies and
# are removed here; anything else is reported.
check_strays() {
    local mode=$1 name
    for name in $(ls -A "$WORK/out"); do
        [ "$name" = "$(basename "$OUT")" ] && continue
        case "$name" in
        .brinora-t*)
            cmp -s "$WORK/out/$name" "$REFERENCE" || fail "$mode: the left-over file $name is not a complete output"
            rm -f "$WORK/out/$name" ;;
        .brinora-j*) ;;  # an append's journal, rolled back by the next run
        *) fail "$mode: an unexpected file $name beside the output" ;;
        esac
    done
}

size() { stat -c %s "$1"; }
is_prefix() { [ "$(size "$1")" -ge "$(size "$2")" ] && head -c "$(size "$2")" "$1" | cmp -s - "$2"; }

# ---------------------------------------------------------------- new file
cut=0
for ((k = 1; k <= COUNT; k++)); do
    rm -f "$OUT"
    d=$(delay $((SEED + k)))
    run_and_kill "$d"
    if [ -e "$OUT" ] || [ -L "$OUT" ]; then
        cmp -s "$OUT" "$REFERENCE" ||
            fail "new, kill $k after ${d}s (status $status): a torn output of $(size "$OUT") bytes, $(wc -l < "$OUT") lines"
    else
        cut=$((cut + 1))
    fi
    check_strays new
done
echo "new: $COUNT kills, $cut before the output appeared"

# ---------------------------------------------------------------- --force
cut=0
for ((k = 1; k <= COUNT; k++)); do
    cp "$OLD" "$OUT"
    chmod 0640 "$OUT"
    d=$(delay $((SEED + 1000 + k)))
    run_and_kill "$d" --force
    if cmp -s "$OUT" "$OLD"; then
        cut=$((cut + 1))
    elif ! cmp -s "$OUT" "$REFERENCE"; then
        fail "--force, kill $k after ${d}s (status $status): neither the previous file nor a complete output" \
             "($(size "$OUT") bytes, $(wc -l < "$OUT") lines)"
    fi
    [ "$(stat -c %a "$OUT")" = 640 ] || fail "--force, kill $k: permission bits $(stat -c %a "$OUT") instead of 640"
    check_strays --force
done
echo "--force: $COUNT kills, $cut with the previous file kept"

# ---------------------------------------------------------------- --append
cut=0
FULL="$WORK/full.csv"          # the previous bytes and one whole run
cat "$OLD" "$BODY" > "$FULL"
EXPECTED="$WORK/expected.csv"
for ((k = 1; k <= COUNT; k++)); do
    cp "$OLD" "$OUT"
    d=$(delay $((SEED + 2000 + k)))
    run_and_kill "$d" --append
    if ! is_prefix "$OUT" "$OLD"; then
        fail "--append, kill $k after ${d}s (status $status): the previous bytes were changed"
        continue
    fi
    journal=$(ls -A "$WORK/out" | grep -c '^\.brinora-j')
    if [ $((k % 2)) -eq 1 ]; then
        if ! "$BRINORA" repair "$OUT" > "$WORK/repair.out" 2>&1; then
            fail "--append, kill $k: brinora repair failed: $(cat "$WORK/repair.out")"
            continue
        fi
        journal=0
    fi
    # What the file holds once a cut-short run is undone: the previous bytes,
    # or the previous bytes and the whole run when it ended before the kill.
    if [ "$journal" -ne 0 ]; then
        base="$OLD"
    elif cmp -s "$OUT" "$OLD"; then
        base="$OLD"
    elif cmp -s "$OUT" "$FULL"; then
        base="$FULL"
    else
        fail "--append, kill $k after ${d}s (status $status): records of the run were left" \
             "($(size "$OUT") bytes, $(wc -l < "$OUT") lines; expected $(size "$OLD") or $(size "$FULL"))"
        continue
    fi
    [ "$base" = "$OLD" ] && cut=$((cut + 1))
    # The same append again, uninterrupted.
    if ! "$BRINORA" batch "$INPUT" -o "$OUT" "${OPTIONS[@]}" --append > /dev/null 2> "$WORK/again.err"; then
        fail "--append, kill $k: the next run failed: $(cat "$WORK/again.err")"
        continue
    fi
    cat "$base" "$BODY" > "$EXPECTED"
    cmp -s "$OUT" "$EXPECTED" ||
        fail "--append, kill $k after ${d}s (status $status): after the next run $(size "$OUT") bytes," \
             "$(wc -l < "$OUT") lines instead of $(size "$EXPECTED") bytes, $(wc -l < "$EXPECTED") lines"
    check_strays --append
    [ -z "$(ls -A "$WORK/out" | grep '^\.brinora-j')" ] || fail "--append, kill $k: a journal is left after the next run"
done
echo "--append: $COUNT kills, $cut cut short and undone"

journal_count() { ls -A "$1" | grep -c '^\.brinora-j'; }
# The file's bytes and one whole run: what the next append must leave.
append_again() {
    "$BRINORA" batch "$INPUT" -o "$1" "${OPTIONS[@]}" --append > /dev/null 2> "$WORK/again.err"
}

# ---------------------------------------------------------------- stale journal
stale=0
for ((k = 1; k <= COUNT; k++)); do
    cp "$OLD" "$OUT"
    d=$(delay $((SEED + 3000 + k)))
    run_and_kill "$d" --append
    [ "$(journal_count "$WORK/out")" -ne 0 ] && stale=$((stale + 1))
    rm -f "$OUT"
    cp "$OLD" "$OUT"  # a new file, perhaps with the old inode
    if ! append_again "$OUT"; then
        fail "stale, kill $k: the append to the new file failed: $(cat "$WORK/again.err")"
    else
        cmp -s "$OUT" "$FULL" || fail "stale, kill $k after ${d}s: the new file has $(size "$OUT") bytes instead of $(size "$FULL")"
    fi
    rm -f "$WORK/out"/.brinora-j*
done
echo "stale: $COUNT kills, $stale left a journal before the file was made anew"

# ---------------------------------------------------------------- planted journal
if command -v setpriv > /dev/null && [ "$(id -u)" = 0 ]; then
    SHARED="$WORK/shared/cruise_Brinora.csv"
    for ((k = 1; k <= COUNT; k++)); do
        rm -f "$WORK/shared"/.brinora-j*
        cp "$OLD" "$SHARED"
        chmod 0644 "$SHARED"
        prefix=$(/usr/bin/python3 -c '
import os, sys
info = os.stat(sys.argv[1]); h = 0xcbf29ce484222325
for v in (info.st_dev, info.st_ino):
    for i in range(8):
        h ^= (v >> (8 * i)) & 0xff; h = (h * 0x100000001b3) & 0xffffffffffffffff
print(".brinora-j%016x" % h)' "$SHARED")
        header=$(head -n 1 "$OLD" | wc -c)
        printf 'brinora append journal 2\ndevice 0\ninode 0\nowner 0\nlength %d\n' "$header" |
            setpriv --reuid=nobody --regid=nogroup --clear-groups tee "$WORK/shared/$prefix-0" > /dev/null
        TARGET="$SHARED" run_and_kill "$(delay $((SEED + 4000 + k)))" --append
        [ $((k % 2)) -eq 1 ] && "$BRINORA" repair "$SHARED" > /dev/null 2>&1
        journals=$(ls -A "$WORK/shared" | grep '^\.brinora-j' | grep -v -- "$prefix-0$" | wc -l)
        if ! is_prefix "$SHARED" "$OLD"; then
            fail "planted, kill $k: the previous bytes were changed"
            continue
        fi
        # The run's own journal (when it was cut short) is undone by the next
        # append; the planted one is never applied.
        cmp -s "$SHARED" "$FULL" && base="$FULL" || base="$OLD"
        [ "$journals" -ne 0 ] && base="$OLD"
        if ! append_again "$SHARED"; then
            fail "planted, kill $k: the next run failed: $(cat "$WORK/again.err")"
            continue
        fi
        cat "$base" "$BODY" > "$EXPECTED"
        cmp -s "$SHARED" "$EXPECTED" ||
            fail "planted, kill $k: $(size "$SHARED") bytes after the next run instead of $(size "$EXPECTED")"
        [ -e "$WORK/shared/$prefix-0" ] || fail "planted, kill $k: the planted journal was removed"
    done
    echo "planted: $COUNT kills, the planted journal never applied"
else
    echo "planted: skipped (needs root and setpriv)"
fi

# ---------------------------------------------------------------- user edit
edited=0
for ((k = 1; k <= COUNT; k++)); do
    cp "$OLD" "$OUT"
    run_and_kill "$(delay $((SEED + 5000 + k)))" --append
    if [ "$(journal_count "$WORK/out")" -eq 0 ]; then
        "$BRINORA" repair "$OUT" > /dev/null 2>&1
        rm -f "$WORK/out"/.brinora-t*
        continue
    fi
    edited=$((edited + 1))
    echo "notes of the user" >> "$OUT"
    cp "$OUT" "$WORK/edited.csv"
    if append_again "$OUT"; then
        fail "edited, kill $k: the append after the user's line was not refused"
    fi
    cmp -s "$OUT" "$WORK/edited.csv" || fail "edited, kill $k: the file was changed although the journal did not fit"
    "$BRINORA" repair --discard "$OUT" > /dev/null 2>&1 || fail "edited, kill $k: repair --discard failed"
    cmp -s "$OUT" "$WORK/edited.csv" || fail "edited, kill $k: repair --discard changed the file"
    [ "$(journal_count "$WORK/out")" -eq 0 ] || fail "edited, kill $k: a journal is left after repair --discard"
done
echo "edited: $COUNT kills, $edited with a line added after a cut-short run, never cut"

# ---------------------------------------------------------------- moved file
moved=0
for ((k = 1; k <= COUNT; k++)); do
    rm -f "$WORK/moved"/* "$WORK/out"/.brinora-j*
    cp "$OLD" "$OUT"
    run_and_kill "$(delay $((SEED + 6000 + k)))" --append
    journal=$(journal_count "$WORK/out")
    MOVED="$WORK/moved/$(basename "$OUT")"
    mv "$OUT" "$MOVED"
    if [ $((k % 2)) -eq 1 ] && ! "$BRINORA" repair "$MOVED" > "$WORK/repair.out" 2>&1; then
        fail "moved, kill $k: repair failed: $(cat "$WORK/repair.out")"
        continue
    fi
    if [ "$journal" -ne 0 ]; then
        base="$OLD"
        moved=$((moved + 1))
    elif cmp -s "$MOVED" "$FULL"; then
        base="$FULL"
    else
        base="$OLD"
    fi
    if ! append_again "$MOVED"; then
        fail "moved, kill $k: the next run failed: $(cat "$WORK/again.err")"
        continue
    fi
    cat "$base" "$BODY" > "$EXPECTED"
    cmp -s "$MOVED" "$EXPECTED" ||
        fail "moved, kill $k: $(size "$MOVED") bytes after the next run instead of $(size "$EXPECTED") (records doubled?)"
    [ "$(journal_count "$WORK/out")" -eq 0 ] || fail "moved, kill $k: the journal in the old folder is left"
done
echo "moved: $COUNT kills, $moved cut short, moved and undone"

# ---------------------------------------------------------------- SIGTERM
termed=0
for ((k = 1; k <= COUNT; k++)); do
    cp "$OLD" "$OUT"
    said_before=$(wc -c < "$WORK/runs.err" 2> /dev/null || echo 0)
    SIGNAL=TERM run_and_kill "$(delay $((SEED + 7000 + k)))" --append
    said=$(tail -c +$((said_before + 1)) "$WORK/runs.err" 2> /dev/null)
    if [ "$status" -eq 143 ] && printf '%s' "$said" | grep -q "keeps the records of this run"; then
        # The signal came after the commit, and the run says so.
        cmp -s "$OUT" "$FULL" || fail "SIGTERM, signal $k (status 143 after the commit): not the previous bytes and one run"
    elif [ "$status" -eq 143 ]; then
        termed=$((termed + 1))
        cmp -s "$OUT" "$OLD" || fail "SIGTERM, signal $k (status 143): $(size "$OUT") bytes instead of the previous $(size "$OLD")"
    elif [ "$status" -eq 0 ]; then
        cmp -s "$OUT" "$FULL" || fail "SIGTERM, signal $k (status 0): not the previous bytes and one run"
    else
        fail "SIGTERM, signal $k: status $status; the run said: $(printf '%s' "$said" | tail -n 20)"
    fi
    [ -z "$(ls -A "$WORK/out" | grep '^\.brinora')" ] || fail "SIGTERM, signal $k: $(ls -A "$WORK/out" | grep '^\.brinora') left"
done
echo "SIGTERM: $COUNT signals, $termed rolled back at once"

if [ "$failures" -ne 0 ]; then
    echo "$failures failure(s)"
    exit 1
fi
echo "all checks held"
