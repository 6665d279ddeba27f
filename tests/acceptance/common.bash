# Shared by the cases written in bash. A case gets the mounted folder and a scratch folder on the disk as
# arguments, and FORM (short or long) and STORAGE (mount or tmpfs) in its environment. It prints its results
# in its last line. Its exit status is 0 on success, 77 if it cannot run here, and any other on failure.
set -euo pipefail

# shellcheck disable=SC2034 # for the cases
folder=$1 scratch=$2
tools=$(dirname "${BASH_SOURCE[0]}")

# Prints the first value in the short form, the second value in the long form.
by_form() {
    [ "$FORM" = short ] && echo "$1" || echo "$2"
}

fail() {
    echo "WRONG: $*" >&2
    exit 1
}

# Creates a tree of ordinary and unusual names, contents, times and permissions.
make_tree() {
    "$tools/make-tree" "$1" "$(by_form 300 5000)"
}

# Fails unless two trees are equal; --without-times and --without-xattrs ignore these.
compare_trees() {
    "$tools/compare-trees" "$@"
}
