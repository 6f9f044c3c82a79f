# Completion of lumomixcalc's command line for bash. Options, operators and modes come from the
# program's own help, so that they cannot differ from it.

_lumomixcalc_words() {
  case $1 in
    -operator=*) grep -oE -- '-operator=[a-z0-9][^ ]*' ;;
    -mode=*) sed -n '/-mode=MODE/{n;s/[ ;]//g;s/,/\n/g;p}' | sed 's/^/-mode=/' ;;
    -resampling=*) printf -- '-resampling=%s\n' nearest average bilinear cubic overview ;;
    -nodata=*) echo -nodata=keep ;;
    *) grep -oE -- '[[ ](-[a-z]+[0-9]*=?|--[a-z]+)' | tr -d '[ ' ;;
  esac
}

_lumomixcalc() {
  # The word as it was typed: bash has split it at "=" and ":".
  local line=${COMP_LINE:0:COMP_POINT}
  local word=${line##*[[:space:]]}
  case $word in
    -file[12]=* | -save=* | -stats=* | -join=*)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -f -- "${word#*=}")
      ;;
    -*)
      local words
      words=$("${COMP_WORDS[0]}" -help 2>/dev/null | _lumomixcalc_words "$word" | sort -u)
      mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
      [[ ${COMPREPLY[0]-} == *= ]] && compopt -o nospace
      # bash replaces only what stands after the last "=".
      [[ $word == *=* ]] && COMPREPLY=("${COMPREPLY[@]#*=}")
      ;;
    *)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      ;;
  esac
}

complete -F _lumomixcalc lumomixcalc
