#!/usr/bin/env bash
# One case of what the brinora program must never do: cut a file by a
# journal that is not its own run's, write through another user's link,
# change a replaced file's owner, write messages into an output, replace its
# own input, write ill-formed KML, say "Completed" before the output exists,
# leave temporary files for ever, hide warnings under -q, end on a signal
# without its rollback, hang or die silently.
#
#   tests/faults/safety_cases.sh BRINORA_BINARY CASE
#
# Runs as root; the cases about ownership run commands as the user "nobody"
# (setpriv). Exit status 0 when every check of the case held; one line per
# failed check.
set -u

BRINORA=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
CASE=$2
HERE=$(cd "$(dirname "$0")" && pwd)
W=$(mktemp -d /tmp/brinora-safety-XXXXXX)
chmod 0755 "$W"
FEEDER=""
RUN=""
cleanup() {
    [ -n "$FEEDER" ] && kill "$FEEDER" 2> /dev/null
    [ -n "$RUN" ] && kill -KILL "$RUN" 2> /dev/null
    rm -rf "$W"
}
trap cleanup EXIT
export BRINORA_SETTINGS_FILE="$W/settings.ini"
OPTS=(--constants 13 --khso4 1 --ph-scale 1 --flux 1)
failures=0

fail() {
    echo "FAIL $CASE: $*"
    failures=$((failures + 1))
}
# expect_eq WHAT ACTUAL EXPECTED
expect_eq() { [ "$2" = "$3" ] || fail "$1: got [$2], expected [$3]"; }
# expect_in WHAT FILE TEXT: FILE holds TEXT
expect_in() { grep -qF -- "$3" "$2" || fail "$1: [$3] not in $(cat "$2")"; }
expect_not_in() { ! grep -qF -- "$3" "$2" || fail "$1: [$3] found in $(cat "$2")"; }
same_file() { cmp -s "$2" "$3" || fail "$1: $2 differs from $3 ($(stat -c %s "$2") and $(stat -c %s "$3") bytes)"; }
as_nobody() { setpriv --reuid=nobody --regid=nogroup --clear-groups "$@"; }

# A batch input of N samples.
make_input() {
    awk -v lines="$2" 'BEGIN {
        print "SampleID,Name,Time,Date,Latitude,Longitude,Salinity,Temperature,Pressure,Phosphate,Silicate," \
              "TempOut,PressureOut,TA,TCO2,pH,fCO2,pCO2,pCO2air,Windspeed,Comment"
        for (n = 1; n <= lines; n++)
            printf "%d,St %d,10:00,1/2/2023,%.2f,%.2f,%.1f,%.1f,%d,1,5,,,%d,%d,,,,400,7,ok\n",
                   n, n / 24, -60 + (n % 120), -180 + (n % 360), 33 + (n % 30) / 10, 2 + (n % 25),
                   (n % 24) * 250, 2250 + (n % 100), 1950 + (n % 120)
    }' > "$1"
}

HEADER="SampleID,Name,Time,Date,Latitude,Longitude,Salinity,Temperature,Pressure,Phosphate,Silicate,TempOut,PressureOut,TA,TCO2,pH,fCO2,pCO2,pCO2air,Windspeed,Comment"
make_input "$W/small.csv" 5
make_input "$W/part.csv" 12000
"$BRINORA" batch "$W/small.csv" -o "$W/old.csv" "${OPTS[@]}" -q > /dev/null || exit 1
"$BRINORA" batch "$W/part.csv" -o "$W/whole.csv" "${OPTS[@]}" -q > /dev/null || exit 1
tail -n +2 "$W/whole.csv" > "$W/body.csv"
cat "$W/old.csv" "$W/body.csv" > "$W/old+body.csv"
size() { stat -c %s "$1"; }

# wait_for CONDITION: polls for up to 20 s.
wait_for() {
    for _ in $(seq 1 1000); do
        eval "$1" && return 0
        sleep 0.02
    done
    fail "timed out waiting for: $1"
    return 1
}

# start_fed_run OUT FLAGS...: `brinora batch` reading part.csv through a
# named pipe that stays open, so that the run waits for more input after
# the records it has written.
start_fed_run() {
    local out=$1
    shift
    rm -f "$W/fifo"
    mkfifo "$W/fifo"
    (cat "$W/part.csv"; exec sleep 120) > "$W/fifo" &
    FEEDER=$!
    "$BRINORA" batch "$W/fifo" -o "$out" "${OPTS[@]}" "$@" > "$W/run.out" 2> "$W/run.err" &
    RUN=$!
}
# end_fed_run SIGNAL: sends it and waits; sets `status` (and `pid_of_run`).
end_fed_run() {
    pid_of_run=$RUN
    kill "-$1" "$RUN"
    { wait "$RUN"; } 2> /dev/null
    status=$?
    RUN=""
    kill "$FEEDER" 2> /dev/null
    FEEDER=""
}
# cut_short OUT: an append to OUT killed after some of its records reached the file.
cut_short() {
    local before
    before=$(size "$1")
    start_fed_run "$1" --append -q
    wait_for "[ \$(size '$1') -gt $before ]"
    end_fed_run KILL
}
journals() { ls -A "$1" | grep -c '^\.brinora-j'; }

# The journal of FILE as a run would make it, with the given length and
# start time (seconds): printed to standard output.
journal_text() {
    /usr/bin/python3 - "$1" "$2" "$3" << 'EOF'
import os, sys
path, length, start = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
info = os.stat(path)
print("brinora append journal 2\ndevice %d\ninode %d\nowner %d\nlength %d\nmtime 1.000000000\n"
      "head 0000000000000000\ntail 0000000000000000\nnewline 0\ncommas 52\npid 1\nstart %d.000000000\n"
      "end %020d" % (info.st_dev, info.st_ino, info.st_uid, length, start, length * 10))
EOF
}
journal_prefix() {
    /usr/bin/python3 - "$1" << 'EOF'
import os, sys
info = os.stat(sys.argv[1])
h = 0xcbf29ce484222325
for value in (info.st_dev, info.st_ino):
    for i in range(8):
        h ^= (value >> (8 * i)) & 0xff
        h = (h * 0x100000001b3) & 0xffffffffffffffff
print(".brinora-j%016x" % h)
EOF
}

case "$CASE" in
F1-stale)
    # A journal left by a run on an earlier file with the same inode (the
    # run began before this file was made) is removed; nothing is cut.
    mkdir "$W/out"
    cp "$W/old.csv" "$W/out/results.csv"
    journal_text "$W/out/results.csv" 200 1000 > "$W/out/$(journal_prefix "$W/out/results.csv")-0"
    "$BRINORA" batch "$W/part.csv" -o "$W/out/results.csv" "${OPTS[@]}" --append -q > /dev/null 2> "$W/err"
    expect_eq "exit status" $? 0
    expect_in "note" "$W/err" "removed the stale journal"
    expect_in "note" "$W/err" "which was left by an earlier file of the same inode; nothing was cut"
    same_file "the file" "$W/out/results.csv" "$W/old+body.csv"
    expect_eq "journals left" "$(journals "$W/out")" 0
    ;;
F1-changed)
    # The bytes before the recorded length changed since the run: refused,
    # nothing cut, and the way out named.
    mkdir "$W/out"
    cp "$W/old.csv" "$W/out/out.csv"
    cut_short "$W/out/out.csv"
    printf 'X' | dd of="$W/out/out.csv" bs=1 seek=100 conv=notrunc 2> /dev/null
    cp "$W/out/out.csv" "$W/edited.csv"
    "$BRINORA" batch "$W/small.csv" -o "$W/out/out.csv" "${OPTS[@]}" --append -q > /dev/null 2> "$W/err"
    expect_eq "exit status" $? 1
    expect_in "refusal" "$W/err" "have changed since; nothing was cut. \`brinora repair --discard $W/out/out.csv\` removes the journal and keeps the file as it is"
    same_file "the file" "$W/out/out.csv" "$W/edited.csv"
    "$BRINORA" repair "$W/out/out.csv" > "$W/rep.out" 2> "$W/rep.err"
    expect_eq "repair" $? 1
    same_file "the file after repair" "$W/out/out.csv" "$W/edited.csv"
    "$BRINORA" repair --discard "$W/out/out.csv" > "$W/rep.out" 2> "$W/rep.err"
    expect_eq "repair --discard" $? 0
    expect_in "repair --discard" "$W/rep.out" "removed "
    expect_eq "journals left" "$(journals "$W/out")" 0
    same_file "the file after discard" "$W/out/out.csv" "$W/edited.csv"
    ;;
F2)
    # A journal planted by a user who cannot write the file is never applied.
    mkdir "$W/shared"
    chmod 1777 "$W/shared"
    cp "$W/old.csv" "$W/shared/out.csv"
    chmod 0644 "$W/shared/out.csv"
    header=$(head -n 1 "$W/old.csv" | wc -c)
    name="$(journal_prefix "$W/shared/out.csv")-0"
    journal_text "$W/shared/out.csv" "$header" "$(date +%s)" > "$W/planted"
    as_nobody cp "$W/planted" "$W/shared/$name"
    expect_eq "planted journal owner" "$(stat -c %u "$W/shared/$name")" 65534
    "$BRINORA" batch "$W/part.csv" -o "$W/shared/out.csv" "${OPTS[@]}" --append -q > /dev/null 2> "$W/err"
    expect_eq "exit status" $? 0
    expect_in "warning" "$W/err" "ignored \"$W/shared/$name\": it belongs to user 65534, who cannot write \"$W/shared/out.csv\""
    same_file "the file" "$W/shared/out.csv" "$W/old+body.csv"
    ;;
F3)
    # Lines the user added after a cut-short run are never removed.
    mkdir "$W/out"
    cp "$W/old.csv" "$W/out/out.csv"
    cut_short "$W/out/out.csv"
    echo notes >> "$W/out/out.csv"
    cp "$W/out/out.csv" "$W/edited.csv"
    "$BRINORA" batch "$W/small.csv" -o "$W/out/out.csv" "${OPTS[@]}" --append -q > /dev/null 2> "$W/err"
    expect_eq "exit status" $? 1
    # Which check sees the note depends on where the kill fell: past the
    # length the run may have written (its bound is raised before each block
    # is written), or, inside that bound, as a line that is not a record.
    if grep -qF "more than that run could have written" "$W/err"; then
        expect_in "refusal" "$W/err" "does not fit: the file has $(size "$W/edited.csv") bytes, more than that run could have written ($(($(size "$W/edited.csv") - 5))), so something else was added to it; nothing was cut."
    else
        expect_in "refusal" "$W/err" "is not a record of 53 fields (were lines added after the run was cut short?); nothing was cut."
    fi
    same_file "the file" "$W/out/out.csv" "$W/edited.csv"
    # An edit inside the run's own bytes: the last record's end made a note.
    truncate -s -6 "$W/out/out.csv"
    lines=$(grep -c '' "$W/out/out.csv")
    truncate -s -6 "$W/out/out.csv"
    echo notes >> "$W/out/out.csv"
    cp "$W/out/out.csv" "$W/edited.csv"
    "$BRINORA" batch "$W/small.csv" -o "$W/out/out.csv" "${OPTS[@]}" --append -q > /dev/null 2> "$W/err"
    expect_eq "exit status" $? 1
    expect_in "refusal" "$W/err" "does not fit the bytes after byte $(size "$W/old.csv"): line $((lines - 6)) after them is not a record of 53 fields (were lines added after the run was cut short?); nothing was cut."
    same_file "the file" "$W/out/out.csv" "$W/edited.csv"
    ;;
F4)
    # A file moved after a cut-short append finds its journal.
    mkdir "$W/a" "$W/archive"
    cp "$W/old.csv" "$W/a/out.csv"
    cut_short "$W/a/out.csv"
    mv "$W/a/out.csv" "$W/archive/"
    "$BRINORA" repair "$W/archive/out.csv" > "$W/rep.out" 2> "$W/rep.err"
    expect_eq "repair" $? 0
    expect_eq "repair says" "$(cat "$W/rep.out")" \
        "$W/archive/out.csv: an append cut short was rolled back to $(size "$W/old.csv") bytes (its journal was in \"$W/a\", where the file was before)"
    same_file "the file" "$W/archive/out.csv" "$W/old.csv"
    expect_eq "journals left in a" "$(journals "$W/a")" 0
    # The same, by the next append.
    cut_short "$W/archive/out.csv"
    mkdir "$W/b"
    mv "$W/archive/out.csv" "$W/b/"
    "$BRINORA" batch "$W/part.csv" -o "$W/b/out.csv" "${OPTS[@]}" --append -q > /dev/null 2> "$W/err"
    expect_eq "append" $? 0
    same_file "the file after the append" "$W/b/out.csv" "$W/old+body.csv"
    ;;
F5)
    # --force never follows another user's link in a folder others can write.
    mkdir "$W/rootonly" "$W/shared"
    chmod 0700 "$W/rootonly"
    chmod 1777 "$W/shared"
    echo secret > "$W/rootonly/important.conf"
    as_nobody ln -s "$W/rootonly/important.conf" "$W/shared/report.csv"
    "$BRINORA" batch "$W/small.csv" -o "$W/shared/report.csv" "${OPTS[@]}" --force -q > /dev/null 2> "$W/err"
    expect_eq "exit status" $? 1
    expect_in "refusal" "$W/err" "\"$W/shared/report.csv\" is a symbolic link of user 65534 in \"$W/shared\", a folder others can write; it is not followed"
    expect_eq "the linked file" "$(cat "$W/rootonly/important.conf")" secret
    expect_eq "the link" "$(readlink "$W/shared/report.csv")" "$W/rootonly/important.conf"
    ;;
F6-root)
    # A replaced file keeps its owner, group and mode.
    mkdir "$W/out"
    cp "$W/old.csv" "$W/out/out.csv"
    chown 65534:65534 "$W/out/out.csv"
    chmod 0660 "$W/out/out.csv"
    "$BRINORA" batch "$W/part.csv" -o "$W/out/out.csv" "${OPTS[@]}" --force -q > /dev/null 2> "$W/err"
    expect_eq "exit status" $? 0
    expect_eq "owner, group, mode" "$(stat -c '%u:%g %a' "$W/out/out.csv")" "65534:65534 660"
    same_file "the file" "$W/out/out.csv" "$W/whole.csv"
    ;;
F6-user)
    # A file that a new file of the caller could not stand for is refused.
    mkdir "$W/out"
    chmod 0777 "$W/out"
    cp "$W/old.csv" "$W/out/out.csv"
    chmod 0666 "$W/out/out.csv"
    as_nobody "$BRINORA" batch "$W/part.csv" -o "$W/out/out.csv" "${OPTS[@]}" --force -q > /dev/null 2> "$W/err"
    expect_eq "exit status" $? 1
    expect_in "refusal" "$W/err" "cannot replace \"$W/out/out.csv\": it belongs to user 0 and group 0, and a new file made by you cannot keep them (Operation not permitted); replace it as its owner, or remove it first"
    expect_eq "owner" "$(stat -c '%u:%g %a' "$W/out/out.csv")" "0:0 666"
    same_file "the file" "$W/out/out.csv" "$W/old.csv"
    expect_eq "left in the folder" "$(ls -A "$W/out")" out.csv
    ;;
F6-acl)
    # An access control list goes with the replaced file.
    mkdir "$W/out"
    cp "$W/old.csv" "$W/out/out.csv"
    /usr/bin/python3 - "$W/out/out.csv" << 'EOF' || fail "no ACL could be set"
import os, struct, sys
entries = [(0x01, 6, 0xffffffff), (0x02, 6, 1001), (0x04, 4, 0xffffffff), (0x10, 6, 0xffffffff), (0x20, 4, 0xffffffff)]
acl = struct.pack("<I", 2) + b"".join(struct.pack("<HHI", *e) for e in entries)
os.setxattr(sys.argv[1], "system.posix_acl_access", acl)
EOF
    before=$(/usr/bin/python3 -c 'import os,sys; print(os.getxattr(sys.argv[1], "system.posix_acl_access").hex())' "$W/out/out.csv")
    "$BRINORA" batch "$W/part.csv" -o "$W/out/out.csv" "${OPTS[@]}" --force -q > /dev/null 2> "$W/err"
    expect_eq "exit status" $? 0
    after=$(/usr/bin/python3 -c 'import os,sys; print(os.getxattr(sys.argv[1], "system.posix_acl_access").hex())' "$W/out/out.csv")
    expect_eq "the access list" "$after" "$before"
    ;;
F6-hardlink)
    mkdir "$W/out"
    cp "$W/old.csv" "$W/out/out.csv"
    ln "$W/out/out.csv" "$W/out/other.csv"
    "$BRINORA" batch "$W/part.csv" -o "$W/out/out.csv" "${OPTS[@]}" --force -q > /dev/null 2> "$W/err"
    expect_eq "exit status" $? 1
    expect_in "refusal" "$W/err" "cannot replace \"$W/out/out.csv\": it has 2 names (hard links)"
    same_file "the file" "$W/out/out.csv" "$W/old.csv"
    ;;
F7)
    # Closed standard streams never carry messages into the output.
    cd "$W" || exit 1
    "$BRINORA" batch part.csv -o c1.csv "${OPTS[@]}" <&- >&-
    expect_eq "exit status (0 and 1 closed)" $? 0
    same_file "output with 0 and 1 closed" c1.csv whole.csv
    "$BRINORA" batch "$W/part.csv" -o c2.csv <&- >&- 2>&-
    expect_eq "exit status (no options, 0-2 closed)" $? 2
    [ -e c2.csv ] && fail "an output was made without options"
    printf '%s\n1,A,,,0,0,1e39,20,0,0,0,,,2300,2000,,,,,,\n' "$HEADER" > odd.csv
    cp old.csv c3.csv
    "$BRINORA" batch odd.csv -o c3.csv --append "${OPTS[@]}" <&- >&- 2>&-
    expect_eq "lines of the append with 0-2 closed" "$(grep -c '' c3.csv)" 7
    expect_eq "closed streams: no message in the output" "$(grep -c -e Completed -e warning c3.csv)" 0
    ;;
F8)
    cd "$W" || exit 1
    cp part.csv in.csv
    "$BRINORA" batch - -o in.csv --force "${OPTS[@]}" < in.csv > /dev/null 2> err
    expect_eq "exit status" $? 1
    expect_in "refusal" err "the output \"in.csv\" is the file on standard input; give another output file"
    same_file "the input" in.csv part.csv
    ;;
F9)
    # Every character XML 1.0 forbids, in a name and a comment.
    cd "$W" || exit 1
    printf 'SampleID,Name,Time,Date,Latitude,Longitude,Salinity,Temperature,Pressure,Phosphate,Silicate,TempOut,PressureOut,TA,TCO2,pH,fCO2,pCO2,pCO2air,Windspeed,Comment\n1,A\000B\001C\013D\033E\357\277\276F\357\277\277G,10:00,1/2/2023,10,20,35,20,0,0,0,,,2300,2000,,,,400,7\033,c\001\n' > xml.csv
    "$BRINORA" kml xml.csv -o xml.kml "${OPTS[@]}" -q > /dev/null 2> err
    expect_eq "exit status" $? 0
    names=$(/usr/bin/python3 -c '
import sys, xml.etree.ElementTree as ET
root = ET.parse(sys.argv[1]).getroot()
print("|".join(e.text for e in root.iter() if e.tag.endswith("}name")).encode("unicode_escape").decode())
' xml.kml 2>&1)
    expect_eq "names in the parsed document" "$names" \
        'Brinora|Results|A\ufffdB\ufffdC\ufffdD\ufffdE\ufffdF\ufffdG 0'
    # Every document the example cruise and the test inputs give parses too.
    for input in "$HERE/../../examples/cruise.csv" "$HERE/../cli/data"/*.csv part.csv; do
        [ -f "$input" ] || continue
        "$BRINORA" kml "$input" -o doc.kml --force "${OPTS[@]}" -q > /dev/null 2>&1 || continue
        /usr/bin/python3 -c 'import sys, xml.etree.ElementTree as ET; ET.parse(sys.argv[1])' doc.kml 2> perr ||
            fail "the KML document of $input does not parse: $(cat perr)"
    done
    ;;
F10)
    # The loser of a create race never says "Completed".
    cd "$W" || exit 1
    start_fed_run new.csv
    wait_for "ls -l /proc/$RUN/fd 2> /dev/null | grep -q fifo"
    echo other > new.csv
    kill "$FEEDER"
    FEEDER=""
    { wait "$RUN"; } 2> /dev/null
    expect_eq "exit status" $? 1
    RUN=""
    expect_eq "standard output" "$(cat run.out)" ""
    expect_in "error" run.err "cannot create \"new.csv\": it already exists (another run made it meanwhile)"
    expect_eq "the other run's file" "$(cat new.csv)" other
    ;;
F11)
    # Temporary files of ended runs, where files cannot be nameless.
    export BRINORA_NO_TMPFILE=1
    mkdir "$W/out"
    cp "$W/old.csv" "$W/out/out.csv"
    start_fed_run "$W/out/out.csv" --force -q
    wait_for "[ -n \"\$(ls -A '$W/out' | grep '^\.brinora-t')\" ]"
    pid=$RUN
    end_fed_run KILL
    left=$(ls -A "$W/out" | grep '^\.brinora-t')
    expect_eq "name of the temporary file" "$(echo "$left" | cut -d. -f2-4)" "brinora-t.$pid.0"
    "$BRINORA" batch "$W/small.csv" -o "$W/out/out.csv" "${OPTS[@]}" --force -q > /dev/null 2> "$W/err"
    expect_eq "next run" $? 0
    expect_in "note" "$W/err" "removed 1 temporary file of runs that ended early from \"$W/out\" ($left)"
    expect_eq "left" "$(ls -A "$W/out")" out.csv
    start_fed_run "$W/out/out.csv" --force -q
    wait_for "[ -n \"\$(ls -A '$W/out' | grep '^\.brinora-t')\" ]"
    end_fed_run KILL
    left=$(ls -A "$W/out" | grep '^\.brinora-t')
    "$BRINORA" repair "$W/out/out.csv" > "$W/rep.out" 2>&1
    expect_eq "repair" $? 0
    expect_in "repair" "$W/rep.out" "\"$W/out/$left\": removed, a temporary file of a run that ended early"
    expect_eq "left after repair" "$(ls -A "$W/out")" out.csv
    ;;
F12)
    # -q keeps warnings and rollback notes.
    cd "$W" || exit 1
    printf '%s\n1,A,,,0,0,1e39,20,0,0,0,,,2300,2000,,,,,,\n' "$HEADER" > odd.csv
    "$BRINORA" batch odd.csv -o q.csv "${OPTS[@]}" -q > /dev/null 2> err
    expect_eq "warning under -q" "$(cat err)" \
        "brinora batch: warning: odd.csv:2: field 7 (salinity) is a number beyond the single-precision range; it is taken as infinite"
    cp old.csv out.csv
    cut_short out.csv
    "$BRINORA" batch small.csv -o out.csv "${OPTS[@]}" --append -q > /dev/null 2> err
    expect_eq "rollback note under -q" "$(cat err)" \
        "brinora batch: out.csv: an append cut short was rolled back to $(size old.csv) bytes"
    ;;
F16-TERM | F16-INT | F16-HUP)
    # A signal rolls an append back and says so.
    signal=${CASE#F16-}
    cd "$W" || exit 1
    cp old.csv out.csv
    start_fed_run out.csv --append -q
    wait_for "[ \$(size out.csv) -gt $(size old.csv) ]"
    end_fed_run "$signal"
    expect_eq "exit status" "$status" "$((128 + $(kill -l "$signal")))"
    expect_eq "the line" "$(cat run.err)" \
        "brinora: stopped by SIG$signal; no record of this run was added, \"out.csv\" is as it was"
    same_file "the file" out.csv old.csv
    expect_eq "left" "$(ls -A | grep -c '^\.brinora')" 0
    # A new file is not made.
    start_fed_run new.csv -q
    wait_for "ls -l /proc/$RUN/fd 2> /dev/null | grep -q fifo"
    end_fed_run "$signal"
    expect_eq "exit status, new file" "$status" "$((128 + $(kill -l "$signal")))"
    expect_eq "the line, new file" "$(cat run.err)" "brinora: stopped by SIG$signal; \"new.csv\" was not created"
    [ -e new.csv ] && fail "new.csv was made"
    ;;
F16-plot)
    # `brinora plot` draws only the records that are part of the file.
    cd "$W" || exit 1
    cp old.csv out.csv
    start_fed_run out.csv --append -q
    wait_for "[ \$(size out.csv) -gt $(size old.csv) ]"
    "$BRINORA" plot out.csv --x Salinity --y "CO3 (in)" -o running.svg 2> err
    expect_eq "exit status" $? 0
    expect_eq "note" "$(cat err)" "brinora plot: an append to out.csv (run $RUN) is going on; its records are left out"
    "$BRINORA" plot old.csv --x Salinity --y "CO3 (in)" -o old.svg 2> err
    same_file "the picture" running.svg old.svg
    end_fed_run KILL
    "$BRINORA" plot out.csv --x Salinity --y "CO3 (in)" -o cut.svg 2> err
    expect_eq "note" "$(cat err)" \
        "brinora plot: an append cut short to out.csv (run $pid_of_run) is not rolled back yet (\`brinora repair out.csv\` does it); its records are left out"
    same_file "the picture" cut.svg old.svg
    ;;
F17-wait)
    # An append waits for another and gives up with a clear message.
    cd "$W" || exit 1
    cp old.csv out.csv
    start_fed_run out.csv --append -q
    wait_for "[ \$(journals '$W') -eq 1 ]"
    BRINORA_APPEND_WAIT=1 "$BRINORA" batch small.csv -o out.csv "${OPTS[@]}" --append -q > /dev/null 2> err
    expect_eq "exit status" $? 1
    expect_eq "messages" "$(cat err)" "brinora batch: waiting for run $RUN, which is appending to \"out.csv\" (for up to 1 s)
brinora batch: cannot append to \"out.csv\": gave up after 1 s of waiting for run $RUN, which is still appending to it (if it was stopped, \`kill -CONT $RUN\` resumes it); nothing was changed"
    end_fed_run KILL
    ;;
F17-fsize)
    # A file size limit is a clear error with the rollback.
    cd "$W" || exit 1
    cp old.csv out.csv
    bash -c "ulimit -f 200; exec '$BRINORA' batch part.csv -o out.csv ${OPTS[*]} --append -q" > /dev/null 2> err
    expect_eq "exit status" $? 1
    expect_eq "message" "$(cat err)" \
        "brinora batch: cannot append to \"out.csv\": File too large; no record of this run was added, the file is as it was"
    same_file "the file" out.csv old.csv
    ;;
F18)
    # A link where a journal would be: repair and append say the same.
    mkdir "$W/out"
    cp "$W/old.csv" "$W/out/out.csv"
    name="$(journal_prefix "$W/out/out.csv")-0"
    ln -s /nowhere "$W/out/$name"
    "$BRINORA" repair "$W/out/out.csv" > /dev/null 2> "$W/rep.err"
    expect_eq "repair" $? 1
    "$BRINORA" batch "$W/small.csv" -o "$W/out/out.csv" "${OPTS[@]}" --append -q > /dev/null 2> "$W/err"
    expect_eq "append" $? 1
    for f in "$W/rep.err" "$W/err"; do
        expect_in "refusal" "$f" "the journal \"$W/out/$name\" is a symbolic link, not a journal; nothing was cut. \`brinora repair --discard $W/out/out.csv\`"
    done
    "$BRINORA" repair --discard "$W/out/out.csv" > /dev/null 2>&1
    expect_eq "repair --discard" $? 0
    [ -L "$W/out/$name" ] && fail "the link is still there"
    # An unreadable settings file is named as such.
    mkdir "$W/settings.ini"
    "$BRINORA" batch "$W/small.csv" -o "$W/x.csv" > /dev/null 2> "$W/err"
    expect_in "hint" "$W/err" "the settings file $W/settings.ini cannot be read: it is a folder"
    ;;
F19)
    "$BRINORA" batch - -o "$W/x.csv" "${OPTS[@]}" <&- 2> "$W/err"
    expect_eq "exit status" $? 1
    expect_eq "message" "$(cat "$W/err")" \
        "brinora batch: the input is standard input (-), but standard input is closed; give an input file or send the input to it"
    ;;
calc)
    "$BRINORA" calc --salinity 35 --temperature 25 --ta 2300 "${OPTS[@]}" > "$W/out" 2> "$W/err"
    expect_eq "one parameter" $? 2
    expect_eq "message" "$(cat "$W/err")" \
        "brinora calc: To calculate, Brinora needs values for two carbonate parameters; 1 was given: give two of --ta, --tco2, --ph, --fco2 and --pco2"
    expect_eq "nothing printed" "$(cat "$W/out")" ""
    "$BRINORA" calc --salinity nan --temperature 25 --ta 2300 --tco2 2000 "${OPTS[@]}" > "$W/out" 2> "$W/err"
    expect_eq "nan" $? 2
    expect_eq "message" "$(cat "$W/err")" "brinora calc: --salinity \"nan\" is not a finite number; give a value"
    "$BRINORA" calc --salinity 35 --temperature -inf --ta 2300 --tco2 2000 "${OPTS[@]}" > "$W/out" 2> "$W/err"
    expect_eq "-inf" $? 2
    expect_eq "message" "$(cat "$W/err")" "brinora calc: --temperature \"-inf\" is not a finite number; give a value"
    ;;
lenient)
    printf '%s\n1,A,,,0,0,35,20,0,0,0,,,NaN,2000,,,,400,7,\n2,B,,,0,0,35,20,0,0,0,,,2300,2000,,,, inf,7,\n' "$HEADER" > "$W/words.csv"
    "$BRINORA" batch "$W/words.csv" -o "$W/w.csv" "${OPTS[@]}" -q > /dev/null 2> "$W/err"
    expect_eq "exit status" $? 0
    expect_eq "message" "$(cat "$W/err")" "brinora batch: warning: $W/words.csv:2: field 14 (TA) is a word that names no number (\"nan\" or \"inf\"); it is taken as 0
brinora batch: warning: $W/words.csv:3: field 19 (atmospheric pCO2) is a word that names no number (\"nan\" or \"inf\"); it is taken as 0"
    expect_eq "records" "$(grep -c '' "$W/w.csv")" 3
    sed -i 's/NaN/2300/' "$W/words.csv"
    "$BRINORA" batch "$W/words.csv" -o "$W/w2.csv" "${OPTS[@]}" -q > /dev/null 2> "$W/err"
    expect_eq "exit status" $? 0
    expect_eq "message" "$(cat "$W/err")" \
        "brinora batch: warning: $W/words.csv:3: field 19 (atmospheric pCO2) is a word that names no number (\"nan\" or \"inf\"); it is taken as 0"
    ;;
*)
    echo "unknown case $CASE" >&2
    exit 2
    ;;
esac

if [ "$failures" -ne 0 ]; then
    echo "$failures failure(s)"
    exit 1
fi
echo "$CASE: all checks held"
