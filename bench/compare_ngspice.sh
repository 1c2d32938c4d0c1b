#!/usr/bin/env bash
# Runs the same circuits in this engine (the qz3 command) and, when it is
# installed, in ngspice, an unrelated open-source simulator used only as the
# speed peer; prints the CPU time of each and the ratio peer / qz3 in one table.
#
#   bench/compare_ngspice.sh [BUILD_DIR] [PHASES...]
#
# BUILD_DIR defaults to ./build (it must hold tools/qz3); PHASES defaults to
# 1 2 4 8 16 32. The circuits are written by bench/make_circuits.py into
# BUILD_DIR/bench_circuits. Times are CPU seconds of one run each; on a
# loaded machine they still vary from run to run.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-build}" && pwd)
shift || true
phases=("$@")
[ ${#phases[@]} -eq 0 ] && phases=(1 2 4 8 16 32)

qz3="$build/tools/qz3"
[ -x "$qz3" ] || { echo "no $qz3: build the qz3 command first" >&2; exit 1; }
circuits="$build/bench_circuits"
python3 "$here/make_circuits.py" "$circuits"
peer=$(command -v ngspice || true)

# CPU seconds (user + system) of a command, or "fail" when it does not
# succeed. CPU time rather than wall time: the comparison stays fair on a
# machine that other work shares.
seconds() {
    local TIMEFORMAT='%U %S' out
    if out=$( { time "$@" > /dev/null 2>&1; } 2>&1 ); then
        echo "$out" | awk '{printf "%.3f", $1 + $2}'
    else
        echo fail
    fi
}

ratio() {
    case "$1$2" in
        *fail* | *-*) echo "-" ;;
        *) echo "$1 $2" | awk '{ if ($1 > 0) printf "%.2f", $2 / $1; else print "-" }' ;;
    esac
}

row() {  # name, qz3 file, run time, step, netlist
    local q p
    q=$(seconds "$qz3" run "$2" --time "$3" --step "$4")
    p="-"
    [ -n "$peer" ] && p=$(seconds "$peer" -b "$5")
    printf '| %-28s | %10s | %10s | %14s |\n' "$1" "$q" "$p" "$(ratio "$q" "$p")"
}

printf '| %-28s | %10s | %10s | %14s |\n' "circuit" "qz3 cpu s" "ngspice cpu s" "ngspice / qz3"
printf '|%s|%s|%s|%s|\n' "------------------------------" "------------" "------------" "----------------"
row "buck converter, 10 ms" "$here/../examples/buck_converter.qz3" 10m 100n "$circuits/multiphase_buck_1.cir"
for n in "${phases[@]}"; do
    row "$n-phase buck, 10 ms" "$circuits/multiphase_buck_$n.qz3" 10m 100n "$circuits/multiphase_buck_$n.cir"
done
row "RC ladder 1000, 0.1 ms" "$circuits/ladder_1000.qz3" 100u 100n "$circuits/ladder_1000.cir"

# Peak resident memory of the ladder against its length: the engine keeps
# the entries that exist, so memory grows with the circuit, not its square.
peak_mb() {
    python3 - "$@" <<'PY'
import resource, subprocess, sys
done = subprocess.run(sys.argv[1:], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
peak = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss / 1024
print(f"{peak:.1f}" if done.returncode == 0 else "fail")
PY
}
echo
printf '| %-28s | %10s | %13s |\n' "RC ladder, 0.1 ms" "qz3 peak MB" "ngspice peak MB"
printf '|%s|%s|%s|\n' "------------------------------" "-------------" "-----------------"
for sections in 250 500 1000 2000 4000; do
    q=$(peak_mb "$qz3" run "$circuits/ladder_$sections.qz3" --time 100u --step 100n)
    p="-"
    [ -n "$peer" ] && p=$(peak_mb "$peer" -b "$circuits/ladder_$sections.cir")
    printf '| %-28s | %11s | %15s |\n' "$sections sections" "$q" "$p"
done
[ -n "$peer" ] || echo "ngspice is not installed: peer times left out (apt-get install ngspice)"
