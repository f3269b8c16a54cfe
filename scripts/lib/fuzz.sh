# Running the libFuzzer targets (sourced by scripts/fuzz and scripts/test).
#
# kv_fuzz_targets BUILD: the target names, one a line.
# kv_fuzz_ci_runs BUILD TARGET: the executions the CI leg gives the target.
# kv_fuzz_run BUILD TARGET LIMIT: runs one target from the kept corpus
#   fuzz/corpus/TARGET, writing new inputs to BUILD/fuzz-work/TARGET and
#   findings to BUILD/findings/TARGET/. LIMIT is "runs=N" (a fixed number of
#   executions with a fixed seed: the CI leg) or "time=S" (seconds). Prints
#   "TARGET: N executions, clean" or "... FINDING (files)" and returns
#   non-zero on a finding.

kv_fuzz_targets() {
    awk '{print $1}' "$1/fuzz/targets.txt"
}

kv_fuzz_ci_runs() {
    awk -v t="$2" '$1 == t {print $2}' "$1/fuzz/targets.txt"
}

kv_fuzz_run() {
    local build=$1 target=$2 limit=$3 root
    root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
    local exe="$build/fuzz/fuzz_$target" work="$build/fuzz-work/$target"
    local findings="$build/findings/$target" log="$build/fuzz-work/$target.log"
    local corpus="$root/fuzz/corpus/$target"
    mkdir -p "$work" "$findings" "$corpus"
    local opts=(-max_len=4096 -timeout=20 -rss_limit_mb=2560 -print_final_stats=1
                -close_fd_mask=3 "-artifact_prefix=$findings/")
    case $limit in
        runs=*) rm -rf "$work"; mkdir -p "$work"
                # The time cap only guards against a machine far slower
                # than this one.
                opts+=(-seed=1 "-runs=${limit#runs=}" -max_total_time=90) ;;
        time=*) opts+=("-max_total_time=${limit#time=}") ;;
    esac
    # The library's own messages stay quiet; the sanitizers stop at the
    # first fault and report leaks.
    KV_SILENT=1 ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1 \
        UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
        "$exe" "${opts[@]}" "$work" "$corpus" >"$log" 2>&1
    local rc=$?
    local runs
    runs=$(grep -E '^stat::number_of_executed_units' "$log" | tail -1 | awk '{print $2}')
    if [ $rc -eq 0 ]; then
        echo "$target: ${runs:-?} executions, clean"
        return 0
    fi
    echo "$target: ${runs:-?} executions, FINDING (exit $rc; $log; $(ls "$findings" | tr '\n' ' '))"
    grep -E 'ERROR|SUMMARY|runtime error|==[0-9]+==' "$log" | head -5
    return 1
}
