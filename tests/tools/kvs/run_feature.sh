#!/usr/bin/env bash
# Runs the command lines of one kvs feature folder and compares what they
# print with the folder's expected transcript, and the files they write with
# its checksums, the way an image tool's test suite does.
#
#   run_feature.sh KVS SAMPLES FEATURE_DIR WORK_DIR
#
# FEATURE_DIR/commands   one shell command line per line ("kvs ..." runs the tool);
#                        $OUT is a fresh folder (also the working folder), $SAMPLES
#                        the built sample packages, $SOURCES the package sources
# FEATURE_DIR/expected   the transcript: "$ line", its output (stdout and stderr),
#                        "[exit N]" when N is not 0; paths under $OUT, $SAMPLES and
#                        $SOURCES written as those names
# FEATURE_DIR/checksums  optional: sha256sum lines for files under $OUT
#
# With KV_UPDATE_REFERENCES=1 the transcript and the checksums are rewritten
# instead of compared (look at the diff before committing it).
set -uo pipefail

kvs_binary=$1
export SAMPLES=$2
feature=$3
export OUT=$4
export SOURCES
SOURCES=$(cd "$(dirname "$0")/../../../samples" && pwd)

rm -rf "$OUT"
mkdir -p "$OUT"
kvs() { "$kvs_binary" "$@"; }
export -f kvs
export kvs_binary

transcript=$OUT.transcript
: >"$transcript"
while IFS= read -r line || [ -n "$line" ]; do
    [ -z "$line" ] || [ "${line:0:1}" = "#" ] && continue
    printf '$ %s\n' "$line" >>"$transcript"
    (cd "$OUT" && bash -c "$line") >>"$transcript" 2>&1
    status=$?
    [ $status -ne 0 ] && printf '[exit %d]\n' $status >>"$transcript"
done <"$feature/commands"
# Names, not machine paths: longest first, since $OUT may lie under $SAMPLES.
sed -i -e "s|$OUT|\$OUT|g" -e "s|$SAMPLES|\$SAMPLES|g" -e "s|$SOURCES|\$SOURCES|g" "$transcript"

if [ "${KV_UPDATE_REFERENCES:-}" = 1 ]; then
    cp "$transcript" "$feature/expected"
    if [ -f "$feature/checksums" ]; then
        files=$(awk '{print $2}' "$feature/checksums")
        (cd "$OUT" && sha256sum $files) >"$feature/checksums.new" && mv "$feature/checksums.new" "$feature/checksums"
    fi
    echo "updated $feature"
    exit 0
fi

failed=0
if ! diff -u "$feature/expected" "$transcript"; then
    echo "FAILED: the transcript of $(basename "$feature") differs (above: - expected, + printed)"
    failed=1
fi
if [ -f "$feature/checksums" ] && ! (cd "$OUT" && sha256sum --quiet -c "$feature/checksums"); then
    echo "FAILED: files of $(basename "$feature") differ from their checksums"
    failed=1
fi
exit $failed
