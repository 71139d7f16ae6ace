# Completion of wmihost for bash. In ~/.bashrc: eval "$(wmihost completion bash)", or source this file.
_wmihost() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} command= words= word
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case $word in
        classes | describe | list | get | query | related | set | delete | invoke | watch | metrics | self-test | shell | completion)
            command=$word
            break
            ;;
        esac
    done
    case $command:$previous in
        classes:-f | classes:--format) words='table json mof csv' ;;
        describe:-f | describe:--format) words='table json mof markdown' ;;
        list:-f | list:--format) words='table json mof csv' ;;
        list:--impersonation) words='none anonymous identify impersonate delegate' ;;
        get:-f | get:--format) words='table json mof csv' ;;
        get:--impersonation) words='none anonymous identify impersonate delegate' ;;
        query:-f | query:--format) words='table json mof csv' ;;
        query:--impersonation) words='none anonymous identify impersonate delegate' ;;
        related:-f | related:--format) words='table json mof csv' ;;
        related:--impersonation) words='none anonymous identify impersonate delegate' ;;
        set:-f | set:--format) words='table json mof csv' ;;
        set:--impersonation) words='none anonymous identify impersonate delegate' ;;
        delete:--impersonation) words='none anonymous identify impersonate delegate' ;;
        invoke:-f | invoke:--format) words='table json mof csv' ;;
        invoke:--impersonation) words='none anonymous identify impersonate delegate' ;;
        watch:--impersonation) words='none anonymous identify impersonate delegate' ;;
        metrics:--impersonation) words='none anonymous identify impersonate delegate' ;;
        self-test:--impersonation) words='none anonymous identify impersonate delegate' ;;
    esac
    [ -n "$words" ] || case $command:$current in
        :-*) words='--help --mof --namespace --quiet --service --synchronous --version' ;;
        classes:-*) words='--format --help --mof --namespace --quiet --service --synchronous --version' ;;
        describe:-*) words='--format --help --mof --namespace --quiet --service --synchronous --version' ;;
        list:-*) words='--format --help --impersonation --mof --namespace --property --quiet --repeat --service --synchronous --threads --version --where' ;;
        get:-*) words='--format --help --impersonation --mof --namespace --property --quiet --repeat --service --synchronous --threads --version' ;;
        query:-*) words='--format --help --impersonation --local --mof --namespace --quiet --service --synchronous --version' ;;
        related:-*) words='--format --help --impersonation --local --mof --namespace --quiet --references --service --synchronous --version --where' ;;
        set:-*) words='--format --help --impersonation --mof --namespace --quiet --service --synchronous --version' ;;
        delete:-*) words='--help --impersonation --mof --namespace --quiet --service --synchronous --version' ;;
        invoke:-*) words='--format --help --impersonation --mof --namespace --quiet --service --synchronous --version --wait' ;;
        watch:-*) words='--count --help --impersonation --interval --mof --namespace --property --quiet --service --synchronous --version --where' ;;
        metrics:-*) words='--count --every --help --impersonation --mof --namespace --output --quiet --service --synchronous --version' ;;
        self-test:-*) words='--help --impersonation --mof --namespace --quiet --service --synchronous --version' ;;
        shell:-*) words='--help --mof --namespace --quiet --service --synchronous --version' ;;
        completion:-*) words='--help --mof --namespace --quiet --service --synchronous --version' ;;
        :*) words='classes describe list get query related set delete invoke watch metrics self-test shell completion' ;;
        describe:* | list:* | watch:*)
            words=$("${COMP_WORDS[0]}" classes --format csv 2>/dev/null | tail -n +2 | cut -d, -f1)
            ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -o default -F _wmihost wmihost wmihost.exe
