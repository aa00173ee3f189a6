# SPDX-License-Identifier: Apache-2.0
# Completion of zelumo-tv in bash. Commands and options are those that the program's own --help lists, so that there is no second list.

# The sections of --help that $1 names (a pattern), of the program and arguments after it: one line an entry.
_zelumo_tv_help() {
  local titles=$1
  shift
  "$@" --help 2>/dev/null | awk -v titles="^($titles):\$" '/^[^ ]/ { on = $0 ~ titles } on && /^  [^ ]/'
}

_zelumo_tv() {
  local program=$1 current=$2 previous=$3 command="" commands word entry line
  commands=$(_zelumo_tv_help Subcommands "$program" | awk '{ print $1 }')
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if grep -qxF -e "$word" <<<"$commands"; then
      command=$word
      break
    fi
  done
  local options
  options=$(_zelumo_tv_help Options "$program"
    [ -z "$command" ] || _zelumo_tv_help Options "$program" "$command")

  # A value: what the option's entry calls it decides. Behind a flag's name there are only blanks.
  if [[ $previous == --* ]] && entry=$(grep -E -m 1 -e "^  (-.,)?$previous " <<<"$options"); then
    word=${entry#*"$previous "}
    case "${word%%[ =:]*}" in
      "") ;;
      FILE | PATH) compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -f -- "$current"); return ;;
      DIR) compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -d -- "$current"); return ;;
      ENGINE) mapfile -t COMPREPLY < <(compgen -W "simulated browser" -- "$current"); return ;;
      *) return ;;
    esac
  fi

  if [[ $current == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(grep -oE -e '^  (-.,)?--[a-z-]+' <<<"$options" | grep -oE -e '--.*' | sort -u)" -- "$current")
  elif [ -z "$command" ]; then
    mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$current")
  else
    line=$(_zelumo_tv_help Positionals "$program" "$command")
    [[ $line != *FILE* ]] || { compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -f -- "$current"); }
  fi
}
complete -F _zelumo_tv zelumo-tv
