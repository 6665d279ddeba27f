# What the cases written in bash share. A case is called with the mounted folder and a scratch folder of the disk; it finds
# FORM (short or long) and STORAGE (mount or tmpfs) in its environment, prints its figures in its last line, and ends with
# a status other than 0 when something is wrong, with 77 when it has no place here.
set -euo pipefail

# shellcheck disable=SC2034 # for the cases
folder=$1 scratch=$2
tools=$(dirname "${BASH_SOURCE[0]}")

# The first value in the short form, the second in the long one.
by_form() {
    [ "$FORM" = short ] && echo "$1" || echo "$2"
}

fail() {
    echo "WRONG: $*" >&2
    exit 1
}

# A tree of ordinary and odd names, contents, times and permissions.
make_tree() {
    "$tools/make-tree" "$1" "$(by_form 300 5000)"
}

# Fails unless two trees are the same; --without-times compares all but the times.
compare_trees() {
    "$tools/compare-trees" "$@"
}
