# bash completion for nidmask.
#
# The options, and the values of options that take one of a few names, are
# read from `nidmask --help` of the nidmask being completed, so that they
# always match that program. Installed as
# share/bash-completion/completions/nidmask; to try it: source this file.

# Prints "OPTION TYPE" for each option of the help text on standard input:
# TYPE is the value's type name as the help shows it ("FILE", "lines|csv"),
# without the default or CLI11's ":UINT ..." check, or "-" for a flag. The
# first line naming an option wins (the notes after the options mention some).
_nidmask_options() {
  local line entry names type name
  local -A seen=()
  while IFS= read -r line; do
    line=${line#"${line%%[![:space:]]*}"}
    [[ $line == -* ]] || continue
    entry=${line%%  *}
    names=${entry%% *}
    type=-
    [[ $entry == *" "* ]] && type=${entry#* } && type=${type%% *}
    type=${type%%:*}
    [[ $type == *"|"* ]] && type=${type%%=*}
    local IFS=,
    for name in $names; do
      [[ $name =~ ^(-[a-zA-Z]|--[a-z][a-z0-9-]*)$ && -z ${seen[$name]:-} ]] || continue
      seen[$name]=1
      printf '%s %s\n' "$name" "$type"
    done
  done
}

_nidmask() {
  local cur=${COMP_WORDS[COMP_CWORD]} prev=
  ((COMP_CWORD > 0)) && prev=${COMP_WORDS[COMP_CWORD - 1]}
  # --name=value: bash splits the word at the "=".
  if [[ $cur == = ]]; then
    cur=
  elif [[ $prev == = ]] && ((COMP_CWORD > 1)); then
    prev=${COMP_WORDS[COMP_CWORD - 2]}
  fi

  local program=${COMP_WORDS[0]}
  program=${program/#\~/$HOME}
  local table
  table=$("$program" --help 2>/dev/null | _nidmask_options)

  local option type value_type=
  while read -r option type; do
    [[ $option == "$prev" && $type != - ]] && value_type=$type
  done <<<"$table"

  COMPREPLY=()
  if [[ -n $value_type ]]; then
    case $prev in
      --country) mapfile -t COMPREPLY < <(compgen -W "FR IT UK GB ES US CA" -- "$cur") ;;
      --delimiter)  # quoted for the shell
        local delimiter
        for delimiter in , '\;' '\|' tab; do
          [[ $delimiter == "$cur"* ]] && COMPREPLY+=("$delimiter")
        done ;;
      --jobs)  # 0 is one per core; and as many as there are
        local cores
        cores=$(nproc 2>/dev/null)
        [[ $cores =~ ^[0-9]+$ && $cores -gt 1 ]] || cores=
        mapfile -t COMPREPLY < <(compgen -W "0 1 $cores" -- "$cur") ;;
      --type)
        mapfile -t COMPREPLY < <(compgen -W "CHAR VARCHAR VARCHAR_SZ WCHAR WVARCHAR WVARCHAR_SZ INTEGER
          U_INTEGER U_LONG_LONG DECIMAL_PKD VARNUM" -- "$cur") ;;
      *)
        if [[ $value_type == *"|"* ]]; then
          mapfile -t COMPREPLY < <(compgen -W "${value_type//|/ }" -- "$cur")
        elif [[ $value_type == FILE ]]; then
          compopt -o filenames 2>/dev/null
          mapfile -t COMPREPLY < <(compgen -f -- "$cur")
        fi ;;
    esac
    return 0
  fi

  if [[ $cur == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(cut -d' ' -f1 <<<"$table")" -- "$cur")
  else
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$cur")
  fi
  return 0
}

complete -F _nidmask nidmask
