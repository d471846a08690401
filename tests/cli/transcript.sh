#!/bin/bash
# Runs one transcript under cram. Without cram3, or without a tool the transcript needs, it
# is skipped (exit 80) with the reason; a failed transcript keeps its directory and prints
# its path, a passed one leaves nothing behind.
set -u
cram=${CRAM:-$(command -v cram3 cram | head -1)}
if [ -z "$cram" ] || ! command -v "$cram" >/dev/null; then echo "skipped: cram3 is not installed" && exit 80; fi
work=$(mktemp -d "${TMPDIR:-/tmp}/orv-transcript.XXXXXX") || exit 1
TMPDIR=$work ORV_SKIP_NOTE=$work/skipped "$cram" --shell=/bin/bash -E --keep-tmpdir "$1" >"$work/out"
status=$?
sed '/^# Kept temporary directory/d' "$work/out"
if [ "$status" = 0 ] && grep -q '^# Ran 1 tests, 1 skipped' "$work/out"; then
    echo "skipped: $(cat "$work/skipped" 2>/dev/null || echo 'a tool it needs is missing')"
    status=80
fi
if [ "$status" = 0 ] || [ "$status" = 80 ]; then
    rm -rf "$work"
else
    echo "kept the failed transcript's directory:" "$work"/cramtests-*/"${1##*/}"
fi
exit "$status"
