#!/usr/bin/env bash
# Runs every fuzz target in build-fuzz/fuzz for a bounded time each; a crash,
# a leak or a hang beyond the per-input limit fails the run. Findings land in
# build-fuzz/findings.
set -euo pipefail
seconds="${1:-20}"
root="$(cd "$(dirname "$0")/.." && pwd)"
findings="$root/build-fuzz/findings"
mkdir -p "$findings"
export QT_QPA_PLATFORM=offscreen
for fuzzer in "$root"/build-fuzz/fuzz/fuzz_*; do
    [ -f "$fuzzer" ] && [ -x "$fuzzer" ] || continue
    name="$(basename "$fuzzer")"
    corpus="$root/build-fuzz/corpus/$name"
    mkdir -p "$corpus"
    echo "fuzz: $name for ${seconds}s"
    "$fuzzer" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=65536 \
        -artifact_prefix="$findings/$name-" -print_final_stats=0 "$corpus" 2>"$findings/$name.log" \
        || { tail -40 "$findings/$name.log"; exit 1; }
done
