# Completion of qzstorage for bash.

# Completes the word under the cursor from a list of words.
_qzstorage_words() {
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "$current")
}

_qzstorage_paths() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen "-$1" -- "$current")
}

# Whether the word under the cursor is the path in --plugin NAME=PATH, which bash splits at the equals sign.
_qzstorage_named_plugin() {
    local i=$((COMP_CWORD - 1))
    if [ "$current" = "=" ]; then
        current="" i=$COMP_CWORD
    fi
    ((i >= 3)) && [ "${COMP_WORDS[i]}" = "=" ] && [ "${COMP_WORDS[i - 2]}" = "--plugin" ]
}

# Completes the value of the option $1. Fails if that is no option with a value.
_qzstorage_value() {
    case $1 in
        --plugin | --junit | --except-from) _qzstorage_paths f ;;
        --import | --export-on-exit | --sync-on-exit | --rescue) _qzstorage_paths d ;;
        --profile) _qzstorage_words "any in-memory" ;;
        --threads | -o | --only | --except | --seed | --timeout | --run-timeout | --jobs | --repeat | -c) COMPREPLY=() ;;
        *) return 1 ;;
    esac
}

_qzstorage() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command="" i
    for ((i = 1; i < COMP_CWORD; i++)); do
        case ${COMP_WORDS[i]} in
            --plugin | -c)
                ((i++))
                [ "${COMP_WORDS[i + 1]-}" != "=" ] || ((i += 2))
                ;;
            -*) ;;
            *)
                command=${COMP_WORDS[i]}
                break
                ;;
        esac
    done
    COMPREPLY=()
    if _qzstorage_named_plugin; then
        _qzstorage_paths f
        return
    fi
    ! _qzstorage_value "$previous" || return 0
    case $command:$current in
        shell:-*) _qzstorage_words "--help --plugin --keep-going -c" ;;
        run:-*) _qzstorage_words "--help --plugin --keep-going" ;;
        mount:-*)
            _qzstorage_words "--help --plugin --background --import --export-on-exit --sync-on-exit --rescue --read-only
                --allow-other --threads -o"
            ;;
        unmount:-*) _qzstorage_words "--help --plugin" ;;
        validate:-*)
            _qzstorage_words "--help --plugin --profile --list --markdown --only --except --except-from --json --junit --seed
                --timeout --run-timeout --jobs --repeat --fail-fast"
            ;;
        inspect:-*) _qzstorage_words "--help --plugin --json" ;;
        run:* | validate:* | inspect:*) _qzstorage_paths f ;;
        mount:* | unmount:*) _qzstorage_paths d ;;
        :-*) _qzstorage_words "--help --version --plugin -c" ;;
        :*) _qzstorage_words "shell run mount unmount validate inspect" ;;
    esac
}

complete -F _qzstorage qzstorage
