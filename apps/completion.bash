# Completion for vemo's programs: the options that their --help tells, files and folders where it
# says FILE, DIR or FOLDER, and the words of a list such as [start|stop].
_vemo() {
  local cur prev words cword split
  _init_completion -s || return
  local help words
  help=$("$1" --help 2>/dev/null)
  if [[ $prev == --* && $help =~ [[:space:]]"$prev"\ ([A-Z]+) ]]; then
    case ${BASH_REMATCH[1]} in
      FILE) _filedir ;;
      DIR) _filedir -d ;;
    esac
  elif [[ $cur == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(_parse_help - <<<"$help")" -- "$cur")
  elif [[ $help =~ ^Usage:[^$'\n']*\[([a-z|]+)\] ]]; then
    mapfile -t COMPREPLY < <(compgen -W "${BASH_REMATCH[1]//|/ }" -- "$cur")
  elif [[ ${help%%$'\n'*} == *FILE* ]]; then
    _filedir
  fi
} && complete -F _vemo vemo-broadcast vemo-classroom vemo-protocol vemo-replay vemo-sign vemo-simulator
