# Completion of the programs' command lines for bash. Each program itself names its options and
# their known values.

_lumomixcalc() {
  # The word as it was typed: bash has split it at "=" and ":".
  local line=${COMP_LINE:0:COMP_POINT} words=
  local word=${line##*[[:space:]]}
  [[ $word != -* ]] || words=$("${COMP_WORDS[0]/#\~/$HOME}" -completions 2>/dev/null)
  if [[ $word != -* || ($word == *=* && $words == *"${word%%=*}=@"*) ]]; then
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -f -- "${word#-*=}")
    return
  fi
  # Names first, and the values of an option behind its "=".
  local kind='[^=]*=?'
  [[ $word != *=* ]] || kind='[^=]*=.+'
  words=$(grep -Ex -- "$kind" <<<"$words")
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
  [[ ${COMPREPLY[0]-} != *= ]] || compopt -o nospace
  # bash replaces only what stands after the last "=".
  [[ $word != *=* ]] || COMPREPLY=("${COMPREPLY[@]#*=}")
}

complete -F _lumomixcalc lumomixcalc lumomixcalc-coherence lumomixcalc-slurm
