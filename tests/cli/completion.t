Bash completion, sourced into a clean bash: its function for orvconfig alone offers, called as
readline calls it, the words below at each position ("row: offered").

  $ S=$ORV_SOURCE_DIR/completion/orvconfig; W=$PWD/work; mkdir -p "$W/share/kernel" "$W/kirnish" "$W/my dir" "$W/vosdata"; touch "$W/share.txt" "$W/vosfile"
  $ printf '127.0.0.1 localhost\n10.0.0.1 hostA.lab.local hostA\n10.0.0.2 hostB.lab.local hostB\n10.0.0.3 hostC\n' >hosts
  $ bash --norc --noprofile -c 'source "$1" && complete -p' bash "$S"
  complete -F _orvconfig orvconfig
  $ c() { env -i PATH="$PATH" HOME="$W" HOSTFILE="$PWD/hosts" ORVCONFIG_STATE_DIR="$W/state" bash --norc --noprofile -c 'cd "$1" && source "$2" || exit 9; shift 2
  >   COMP_WORDS=(orvconfig "$@"); COMP_CWORD=$#; COMP_LINE="${COMP_WORDS[*]}"; COMP_POINT=${#COMP_LINE}
  >   _orvconfig orvconfig "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD-1]}" || echo "status $?"
  >   ((${#COMPREPLY[@]} == 0)) || printf "%s\n" "${COMPREPLY[@]}" | LC_ALL=C sort | paste -sd";"' bash "$W" "$S" "$@"; }
  $ rows() { local r; for r; do eval "set -- $r"; echo "$r: $(c "$@" | sed "s|$W|\$W|g")"; done; }
  $ [ "$(c '')" = "$({ "$ORVCONFIG" -h | sed -n 's/^   \([a-z][a-z]*\).*/\1/p'; printf '%s\n' check history undo; } | LC_ALL=C sort -u | paste -sd';')" ] && echo "the words of -h, check, history and undo"
  the words of -h, check, history and undo
  $ rows "''" m - '--dry-run hovhdfsport s' x "mghost ''" 'mghost k' 'mghost "$W/share/"' 'mghost /share ""' 'mghost /share -f ""'
  '': addresourceattr;check;history;hovhdfsport;join;masterlist;mghost;setbaseport;undo;unsetmghost
  m: masterlist;mghost
  -: --dry-run;-V;-h
  --dry-run hovhdfsport s: set;show
  x: 
  mghost '': kirn;kirnish;my dir;share;vos;vosdata;zt
  mghost k: kirn;kirnish
  mghost "$W/share/": $W/share/kernel
  mghost /share "": -f
  mghost /share -f "": 
  $ rows "hovhdfsport ''" "hovhdfsport set ''" 'masterlist hostA,' "masterlist hostA,hostB ''" 'join host' 'join hostA -'
  hovhdfsport '': set;show
  hovhdfsport set '': 
  masterlist hostA,: hostA,hostA;hostA,hostA.lab.local;hostA,hostB;hostA,hostB.lab.local;hostA,hostC;hostA,localhost
  masterlist hostA,hostB '': -f
  join host: hostA;hostA.lab.local;hostB;hostB.lab.local;hostC
  join hostA -: -f
  $ rows "unsetmghost ''" "unsetmghost -f ''" "setbaseport ''" "addresourceattr '[resource scvg]' ''" "check ''" "check --json ''"
  unsetmghost '': -f
  unsetmghost -f '': 
  setbaseport '': 
  addresourceattr '[resource scvg]' '': 
  check '': --json
  check --json '': 
  $ mkdir -p "$W/state/journal/20261125-010203.004-17" "$W/state/journal/20261126-000000.000-9"
  $ rows "history ''" 'history 202611' 'history 20261126-000000.000-9 ""' "undo ''" 'undo 2' 'undo 20261125-010203.004-17 ""' 'undo -f ""'
  history '': 20261125-010203.004-17;20261126-000000.000-9
  history 202611: 20261125-010203.004-17;20261126-000000.000-9
  history 20261126-000000.000-9 "": 
  undo '': -f;20261125-010203.004-17;20261126-000000.000-9
  undo 2: 20261125-010203.004-17;20261126-000000.000-9
  undo 20261125-010203.004-17 "": -f
  undo -f "": 
