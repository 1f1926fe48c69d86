# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# Completion of lumenar for bash.
_lumenar_words() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} given
  case $before in
    --dir | --replay | --engine) mapfile -t COMPREPLY < <(compgen -f -- "$word"); return ;;
  esac
  given='up down status env --dir --help --version'
  [[ " ${COMP_WORDS[*]} " != *" up "* ]] || given='--probe --sim --replay --engine --no-math --web --web-control --port --dir'
  mapfile -t COMPREPLY < <(compgen -W "$given" -- "$word")
}
complete -o default -F _lumenar_words lumenar
