#!/usr/bin/env bash
# Times `dotwise count --style todotxt` on a 150 MB todo.txt-style file against
# `wc -l` and an equivalent grep, in one run, on the same file (page cache warm).
# Prints the best of several runs of each, the ratios, and each one's peak
# memory. Usage: bench/count.sh [path/to/dotwise]   (default: release build)
#   BENCH_SIZE_MB (150), BENCH_RUNS (5), BENCH_FILE (a temporary file) may be set.
set -euo pipefail
cd "$(dirname "$0")/.."

dotwise="${1:-build/release/src/dotwise}"
if [ ! -x "$dotwise" ]; then
  cmake --preset release >/dev/null
  cmake --build --preset release --target dotwise
fi
[ -x /usr/bin/time ] || scripts/install-deps.sh
size_mb="${BENCH_SIZE_MB:-150}"
runs="${BENCH_RUNS:-5}"
workdir="$(mktemp -d)"
trap 'rm -rf "$workdir"' EXIT
file="${BENCH_FILE:-$workdir/todo.txt}"

if [ ! -s "$file" ]; then
  # Open tasks with priorities, projects and contexts, done ones, blank and
  # indented lines: what a long-kept todo.txt looks like.
  awk -v bytes=$((size_mb * 1024 * 1024)) 'BEGIN {
    srand(42)
    split("Call the plumber about the kitchen sink|Buy milk, bread and coffee beans|Write the quarterly report for the board|Book flights to the conference in Lisbon|Renew the passport before the summer|Fix the squeaky hinge on the garden gate|Reply to the letter from the insurance company", what, "|")
    split("+home|+work|+travel|+garden|+errands", project, "|")
    split("@phone|@computer|@town|@home", context, "|")
    total = 0
    while (total < bytes) {
      r = int(rand() * 20)
      d = sprintf("2024-%02d-%02d", 1 + int(rand() * 12), 1 + int(rand() * 28))
      t = what[1 + int(rand() * 7)] " " project[1 + int(rand() * 5)] " " context[1 + int(rand() * 4)]
      if (r < 5)       line = "x " d " " d " " t
      else if (r < 6)  line = "X " t
      else if (r < 7)  line = ""
      else if (r < 8)  line = "  \t" t " due:" d
      else if (r < 12) line = "(" substr("ABC", 1 + int(rand() * 3), 1) ") " d " " t
      else             line = t " due:" d
      print line
      total += length(line) + 1
    }
  }' > "$file"
fi
bytes=$(stat -c %s "$file")
cat "$file" > /dev/null # into the page cache

# best_of NAME COMMAND...: sets best_ns, peak_kb and output of the fastest run.
best_of() {
  local name=$1; shift
  best_ns=""; peak_kb=0
  for _ in $(seq "$runs"); do
    local start end
    start=$(date +%s%N)
    /usr/bin/time -f %M -o "$workdir/$name.mem" "$@" > "$workdir/$name.out"
    end=$(date +%s%N)
    local ns=$((end - start)) kb
    kb=$(tail -n 1 "$workdir/$name.mem")
    if [ -z "$best_ns" ] || [ "$ns" -lt "$best_ns" ]; then best_ns=$ns; fi
    if [ "$kb" -gt "$peak_kb" ]; then peak_kb=$kb; fi
  done
  output=$(cut -f1 < "$workdir/$name.out" | awk '{print $1}')
}

best_of dotwise "$dotwise" count --style todotxt "$file"
dotwise_ns=$best_ns; dotwise_kb=$peak_kb; dotwise_count=$output
best_of wc wc -l "$file"
wc_ns=$best_ns; wc_kb=$peak_kb
LC_ALL=C best_of grep grep -c -v -E '^[[:blank:]]*([xX]|$)' "$file"
grep_ns=$best_ns; grep_kb=$peak_kb; grep_count=$output

ms() { awk -v ns="$1" 'BEGIN { printf "%.1f ms", ns / 1e6 }'; }
printf 'file: %s (%.1f MB), best of %d runs each\n' "$file" "$(awk -v b="$bytes" 'BEGIN { print b / 1048576 }')" "$runs"
printf '%-8s %12s %12s  %s\n' tool time "peak RSS" result
printf '%-8s %12s %9s KB  %s open tasks\n' dotwise "$(ms "$dotwise_ns")" "$dotwise_kb" "$dotwise_count"
printf '%-8s %12s %9s KB  %s lines\n' "wc -l" "$(ms "$wc_ns")" "$wc_kb" "$(cut -d' ' -f1 < "$workdir/wc.out")"
printf '%-8s %12s %9s KB  %s lines\n' grep "$(ms "$grep_ns")" "$grep_kb" "$grep_count"
awk -v d="$dotwise_ns" -v w="$wc_ns" -v g="$grep_ns" 'BEGIN {
  printf "dotwise / wc -l: %.2fx the time (goal: at most 3x)\n", d / w
  printf "grep / dotwise:  %.2fx (goal: above 1, dotwise faster)\n", g / d
}'
awk -v k="$dotwise_kb" -v b="$bytes" 'BEGIN {
  printf "dotwise peak memory: %.1f MB for a %.1f MB file (goal: at most the file size plus a few MB)\n", k / 1024, b / 1048576
}'
if [ "$dotwise_count" != "$grep_count" ]; then
  echo "MISMATCH: dotwise counted $dotwise_count, grep $grep_count" >&2
  exit 1
fi
