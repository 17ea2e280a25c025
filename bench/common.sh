# The start every bench script shares: the project root, the program to time (the script's
# first argument, else TAGWICK_CLI, else build/tagwickcli) and the checks for what a run needs.
# Sourced, not run.

ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
CLI="${1:-${TAGWICK_CLI:-$ROOT/build/tagwickcli}}"

need_hyperfine() {
    command -v hyperfine >/dev/null 2>&1 || { echo "hyperfine is not installed (apt-get install hyperfine)" >&2; exit 2; }
}

need_cli() {
    [[ -x $CLI ]] || { echo "No program at $CLI (build it first, or name it)" >&2; exit 2; }
}

# median VALUE... : the middle value ("-" when any is "-").
median() {
    printf '%s\n' "$@" | sort -g | awk '$1 == "-" { bad = 1 } { v[NR] = $1 } END { print bad ? "-" : v[int((NR + 1) / 2)] }'
}
