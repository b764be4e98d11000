# Completion of gpon-validate for bash.

_gpon_validate()
{
    local current=$2 previous=$3 command=${COMP_WORDS[1]} words=
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        words="check headroom diff fleet audit points generate replay --config --help --version"
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
        return
    fi
    case $previous in
    --config | --running | --edit | --card | --plugin | --trace-file | --output | -o | --html | --bundle)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    --edits | --list-from)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -d -- "$current")
        return
        ;;
    --report) words="text json sarif junit gitlab github" ;;
    --trace) words="fine progress decisions" ;;
    --color) words="auto always never" ;;
    --format) words="xml json" ;;
    --default-operation) words="merge replace none" ;;
    --timeout | --max-size | --links | --onus | --line-profiles | --bandwidth-profiles | --rg-profiles | \
        --service-ports | --seed | --jobs | --shard | --edit-command)
        return
        ;;
    esac
    if [ -z "$words" ]; then
        case $command in
        check)
            words="--running --edit --edits --in-turn --default-operation --skip-foreign --card --plugin --yes --no --warnings-as-errors --all --new-only --rule --diff --explain --calls --reads --json
                --report --check-running --no-reuse --in-process --timeout --max-size --trace --trace-file --bundle --color --config --help"
            if [[ $current != -* ]]; then
                compopt -o filenames
                mapfile -t COMPREPLY < <(compgen -f -- "$current")
                return
            fi
            ;;
        headroom)
            words="--running --edit --default-operation --skip-foreign --card --plugin --json --all --html --max-size
                --color --help"
            if [[ $current != -* ]]; then
                compopt -o filenames
                mapfile -t COMPREPLY < <(compgen -f -- "$current")
                return
            fi
            ;;
        diff)
            words="--running --edit --default-operation --skip-foreign --json --output --format --exit-code --max-size
                --color --help"
            if [[ $current != -* ]]; then
                compopt -o filenames
                mapfile -t COMPREPLY < <(compgen -f -- "$current")
                return
            fi
            ;;
        fleet)
            words="merge --list-from --edit --edit-command --default-operation --skip-foreign --plugin --output --jobs --resume --shard --check-running --yes --no
                --warnings-as-errors --all --json --report --timeout --max-size --color --help"
            if [[ $current != -* ]]; then
                compopt -o filenames
                mapfile -t COMPREPLY < <(compgen -f -- "$current")
                return
            fi
            ;;
        audit) words="--running --edit --default-operation --skip-foreign --card --plugin --json --help" ;;
        points)
            words="--json --help"
            [[ $current == -* ]] || words=$("${COMP_WORDS[0]}" points --json 2>/dev/null |
                sed -n 's/^ *"key": "\([a-z0-9_]*\)".*/\1/p')
            ;;
        replay)
            words="--plugin --max-size --help"
            if [[ $current != -* ]]; then
                compopt -o filenames
                mapfile -t COMPREPLY < <(compgen -f -- "$current")
                return
            fi
            ;;
        generate)
            words="--links --onus --line-profiles --bandwidth-profiles --rg-profiles --service-ports
                --seed --format --output --card --help"
            ;;
        esac
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -F _gpon_validate gpon-validate
