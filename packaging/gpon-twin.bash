# Completion of gpon-twin for bash.

_gpon_twin()
{
    local current=$2 previous=$3 command=${COMP_WORDS[1]} words=
    COMPREPLY=()
    case $previous in
    --running | --card | --plugin | --unix | --keys | --host-key | --tls | --tls-key | --tls-ca)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    --state)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -d -- "$current")
        return
        ;;
    --fail) words="get get-config edit-config validate commit lock unlock" ;;
    --listen | --port | --tls-port | --timeout | --max-message | --latency | --call-latency | --time-scale | --limit) return ;;
    esac
    if [ -z "$words" ]; then
        case $command in
        history) words="--state --limit --json --help" ;;
        show) words="--state --configuration --json --help" ;;
        rollback) words="--state --unix --card --plugin --confirm-warnings --help" ;;
        *)
            words="--running --card --plugin --state --ephemeral --listen --port --no-ssh --unix --keys --host-key
                --tls --tls-key --tls-ca --tls-port --writable-running --timeout --max-message --latency --call-latency --fail --time-scale
                --verbose --help --version"
            [ "$COMP_CWORD" -gt 1 ] || words="history show rollback $words"
            ;;
        esac
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -F _gpon_twin gpon-twin
