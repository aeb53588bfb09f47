# Completes lanternfly's commands and options for bash. It asks the program itself, so that it
# knows what the installed version knows.
_lanternfly() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local program=${COMP_WORDS[0]} command="" each
    for each in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        [[ $each != -* ]] && command=$each && break
    done
    COMPREPLY=()
    if [[ -z $command ]]; then
        local commands
        commands=$("$program" --help 2>/dev/null |
            awk '/^Subcommands:/ {on = 1; next} on && /^  [a-z]/ {print $1}')
        mapfile -t COMPREPLY < <(compgen -W "$commands --help --version --verbose" -- "$word")
        return
    fi
    if [[ $command == send && $word != -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$("$program" send --list 2>/dev/null |
            awk '{print $1}')" -- "$word")
        return
    fi
    case $before in
    --camera)
        mapfile -t COMPREPLY < <(compgen -W "demo" -- "$word"; compgen -f -- "$word") ;;
    --framing) mapfile -t COMPREPLY < <(compgen -W "crop bars" -- "$word") ;;
    --look) mapfile -t COMPREPLY < <(compgen -W "system light dark" -- "$word") ;;
    --device) mapfile -t COMPREPLY < <(compgen -W "cpu vulkan" -- "$word") ;;
    *)
        if [[ $word == -* ]]; then
            mapfile -t COMPREPLY < <(compgen -W "$("$program" "$command" --help 2>/dev/null |
                grep -oE -- '--[a-z][a-z-]+')" -- "$word")
        else
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
        fi ;;
    esac
}
complete -F _lanternfly lanternfly
