# Completion for tvk, tvk-modem and tvk-decode in bash. All it knows it asks the programs: tvk's usage text, and
# what --help of the other two says of options and the types of their values.
# shellcheck shell=bash

# _tvk_offer CURRENT: of the lines "WORD<tab>TEXT" of standard input, offers those whose word begins with CURRENT.
# The texts are for a list of several; a word that is to be inserted comes without.
_tvk_offer() {
  local word text words=() shown=()
  while IFS=$'\t' read -r word text; do
    [[ -n $word && $word == "$1"* ]] || continue
    words+=("$word")
    shown+=("$word${text:+  ($text)}")
  done
  COMPREPLY=("${shown[@]}")
  # 37 and 42: menu-complete and insert-completions insert what is offered as it stands.
  if [ ${#words[@]} -eq 1 ] || [[ ${COMP_TYPE-} == 37 || ${COMP_TYPE-} == 42 ]]; then
    COMPREPLY=("${words[@]}")
  fi
}

_tvk_offer_files() { # CURRENT [-d]
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen "${2:--f}" -- "$1")
}

# _tvk_offer_captures CURRENT ENDINGS: directories, and files with one of these endings or with one more behind it; all
# if there are none.
_tvk_offer_captures() {
  local file kept=()
  _tvk_offer_files "$1"
  for file in "${COMPREPLY[@]}"; do
    [[ -d $file || $file =~ (${2//./\\.})(\.[a-z0-9]+)?$ ]] && kept+=("$file")
  done
  [ ${#kept[@]} -eq 0 ] || COMPREPLY=("${kept[@]}")
}

# Reads the usage text. A row is "tvk WORD... /* text */" with what is indented below it; words are numbers, or names of
# arguments, whose values the text may list: "mode: 0 - callback, 1 - dci;". Prints the possible words after those of
# `typed`, each with its text.
_tvk_next_words() {
  awk -v typed="$*" '
    function offer(word, text) {
      if (!(word in offered)) print word "\t" substr(text, 1, 70)
      offered[word]
    }
    function offer_values(name, text) {
      sub(/\(.*/, "", name)
      if (!match(text, "(^|[^a-z_])" name " *: *")) return
      text = substr(text, RSTART + RLENGTH)
      if (text ~ /^0 or 1/) { offer(0, ""); offer(1, "") }
      while (match(text, /^[,; ]*[0-9]+ - [^,;*\n]+/)) {
        value = substr(text, RSTART, RLENGTH)
        text = substr(text, RSTART + RLENGTH)
        gsub(/^[,; ]+| +$/, "", value)
        offer(substr(value, 1, index(value, " ") - 1), substr(value, index(value, "- ") + 2))
      }
    }
    function end_row(    i, text) {
      if (!row) return
      for (i = 1; i <= count; ++i) if (words[i] != given[i] && words[i] ~ /^[0-9]/) return
      text = about
      sub(/^[^*]*\/\* */, "", text)
      sub(/[*\n].*/, "", text)
      sub(/(, [a-z_]+)? *: .*| +$/, "", text)
      if (words[count + 1] ~ /^[0-9]/) offer(words[count + 1], text)
      else if (words[count + 1] != "") offer_values(words[count + 1], about)
    }
    BEGIN { count = split(typed, given, " ") }
    /^[0-9]+: / {
      end_row(); row = 0
      group = $1 + 0
      gsub(/^[0-9]+: | *:? *$/, "")
      if (count == 0) offer(group, $0)
      next
    }
    /^ *tvk / {
      end_row(); row = count > 0
      about = $0
      sub(/ *\/\*.*/, "")
      delete words
      for (i = 2; i <= NF; ++i) words[i - 1] = $i
      next
    }
    { about = about "\n" $0 }
    END { end_row() }'
}

_tvk() {
  COMPREPLY=()
  _tvk_offer "${COMP_WORDS[COMP_CWORD]}" < \
    <("${1/#\~\//$HOME/}" 2>/dev/null </dev/null | _tvk_next_words "${COMP_WORDS[@]:1:COMP_CWORD-1}")
}

_tvk_help() {
  "$@" --help 2>/dev/null
}

# _tvk_section NAME: the lines "WORD<tab>TEXT" of a section of --help.
_tvk_section() {
  awk -v name="$1:" '
    /^[A-Z]/ { inside = $0 == name; next }
    inside && match($0, /^  [^ ]+/) {
      word = substr($0, 3, RLENGTH - 2)
      sub(/^  [^ ]+ */, "")
      print word "\t" $0
    }'
}

# _tvk_offer_values PROGRAM CURRENT TYPE KEY: what an option of this type, as --help writes it, takes, or takes after
# KEY= if there is a key.
_tvk_offer_values() {
  local current=$2 type=$3 key=$4 before=
  case $type in
    *'|'*) _tvk_offer "$current" <<<"${type//|/$'\n'}" ;;
    PATH | FILE | LINK) _tvk_offer_files "$current" ;;
    DIR) _tvk_offer_files "$current" -d ;;
    LOG | EVENT | RECORD) # a list with commas
      [[ $current == *,* ]] && before=${current%,*},
      _tvk_offer "$current" < <("$1" --list-names 2>/dev/null |
        awk -v kind="${type,,}" -v by_name="$([[ ${current##*,} == [a-z]* ]] && echo 1)" -v before="$before" '
          $1 == kind { print before (by_name ? $3 "\t" $2 : $2 "\t" $3) }')
      ;;
    KEY) # the error about an unknown key lists them
      [ -z "$key" ] || return 0
      compopt -o nospace 2>/dev/null
      _tvk_offer "$current" < <("$1" serve --set = 2>&1 | grep -o '[a-z0-9_.]*=[-0-9]*\.\.[-0-9]*' | sed 's/=/=\t/')
      ;;
    RULE) # so do the errors about a service and an action
      compopt -o nospace 2>/dev/null
      if [ -n "$key" ]; then
        _tvk_offer "$current" < <("$1" serve --fault "$key=" 2>&1 | sed 's/.*actions //; s/, /\n/g' |
          sed -E 's/^[a-z-]+:?/&\t/')
      else
        _tvk_offer "$current" < <("$1" serve --fault =silent 2>&1 |
          sed 's/.*services //; s/;.*//; s/, /\n/g' | sed 's/$/=/')
      fi
      ;;
  esac
}

_tvk_programs() {
  local program=("${1/#\~\//$HOME/}") help i word option key type current=${COMP_WORDS[COMP_CWORD]}
  COMPREPLY=()
  for ((i = 1; i < COMP_CWORD; ++i)); do
    word=${COMP_WORDS[i]}
    if [ "$word" = -- ]; then # another program's command line
      if declare -F _command_offset >/dev/null; then
        _command_offset $((i + 1))
      else
        mapfile -t COMPREPLY < <(compgen -c -- "$current")
      fi
      return
    fi
    if [[ $word == [a-z]* ]] && _tvk_help "${program[@]}" | _tvk_section Subcommands | cut -f1 | grep -qxF "$word"; then
      program+=("$word")
    fi
  done
  help=$(_tvk_help "${program[@]}")

  # The option that is being given a value: "--option VALUE", "--option=VALUE", "--option KEY=VALUE". Bash makes
  # words of "=".
  i=$((COMP_CWORD - 1)) key=
  [ "$current" = = ] && current=
  [ "${COMP_WORDS[COMP_CWORD]}" = = ] && i=$COMP_CWORD
  if [ "${COMP_WORDS[i]}" = = ]; then
    i=$((i - 1))
    if [[ ${COMP_WORDS[i]} != -* ]]; then
      key=${COMP_WORDS[i]}
      i=$((i - 1))
      [ "${COMP_WORDS[i]}" = = ] && i=$((i - 1))
    fi
  fi
  option=${COMP_WORDS[i]}
  if [[ $option =~ ^--?[a-z-]+$ && $current != -[a-z-]* ]]; then
    type=$(sed -nE "s/^  (-.,)?$option(,--[^ ]*)? ([A-Za-z][A-Za-z|0-9]*).*/\3/p" <<<"$help")
    if [ -n "$type" ]; then
      _tvk_offer_values "${program[0]}" "$current" "$type" "$key"
      return
    fi
  fi

  if [[ $current == -* ]]; then
    _tvk_offer "$current" < <(_tvk_section Options <<<"$help" | cut -f1 | sed 's/^-.,--/--/')
    return
  fi
  _tvk_offer "$current" < <(_tvk_section Subcommands <<<"$help")
  # The positional arguments that are files; in tvk-decode, captures.
  if _tvk_section Positionals <<<"$help" | grep -qE $'^FILE\t|\tPATH '; then
    _tvk_offer_captures "$current" "$(head -1 <<<"$help" | grep -oE '\.[a-z0-9]+' | paste -sd'|')"
  fi
}

complete -F _tvk tvk tarvik_console
complete -F _tvk_programs tvk-modem tvk-decode
