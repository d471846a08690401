orvconfig(1): no formatter warning, man -l renders it, it documents what the binary offers.

  $ command -v mandoc groff man >/dev/null || exit 80; P=$ORV_SOURCE_DIR/docs/orvconfig.1
  $ mandoc -Tlint -W warning "$P"; groff -man -ww -z "$P"; MANWIDTH=80 man -l "$P" 2>&1 >/dev/null
  $ MANWIDTH=80 MAN_KEEP_FORMATTING= man -l "$P" 2>/dev/null | col -b | grep -E '^[A-Z][A-Z ]+$' | paste -sd,
  NAME,SYNOPSIS,DESCRIPTION,SUBCOMMANDS,OPTIONS,ENVIRONMENT,FILES,EXIT STATUS,EXAMPLES,WHAT ORVCONFIG NEVER DOES,SAFETY,DIAGNOSTICS
  $ page() { mandoc -Tascii -O width=80 "$P" | col -b; }; entries() { page | sed -n "/^$1\$/,/^[A-Z]/p" | grep -E '^       [^ ]' | sed 's/^ *//'; }
  $ page | sed -n '/^SYNOPSIS$/,/^DESCRIPTION$/s/^ \{1,\}//p' | paste -sd'|'
  orvconfig [--dry-run] subcommand [operand...]|orvconfig masterlist host_name[,host_name,...] [-f]|orvconfig join master_name [-f]|orvconfig mghost shared_top [-f]|orvconfig mghost vos | kirn | zt [-f]|orvconfig unsetmghost [-f]|orvconfig setbaseport base_port_no|orvconfig hovhdfsport show|orvconfig hovhdfsport set port_no|orvconfig addresourceattr "[resource resource_name] [resourcemap|value*resource_name] ..."|orvconfig check [--json]|orvconfig history [run_id]|orvconfig undo [run_id] [-f]|orvconfig -h|orvconfig -V
  $ entries SUBCOMMANDS | paste -sd,; for s in OPTIONS ENVIRONMENT 'EXIT STATUS'; do entries "$s" | grep -E '^(-|[A-Z_]+$|[0-9]+ )' | cut -d' ' -f1 | paste -sd,; done
  masterlist host_name[,host_name,...],join master_name,mghost shared_top,mghost vos | kirn | zt,unsetmghost,setbaseport base_port_no,hovhdfsport show,hovhdfsport set port_no,addresourceattr tags,check [--json],history [run_id],undo [run_id] [-f]
  --dry-run,-f,-h,-V
  ORV_CONFDIR,ORV_LOCAL_CONFDIR,ORV_TOP,VOS_ENVDIR,ORVCONFIG_LOCK_WAIT,ORVCONFIG_STATE_DIR,ORVCONFIG_JOURNAL_KEEP,ORVCONFIG_JOURNAL
  0,1,255
  $ page | sed -n '/^EXAMPLES$/,/^[A-Z]/p' | grep -oE 'orvconfig [a-z]+( (show|set))?' | sort -u | paste -sd,
  orvconfig addresourceattr,orvconfig check,orvconfig history,orvconfig hovhdfsport set,orvconfig hovhdfsport show,orvconfig join,orvconfig masterlist,orvconfig mghost,orvconfig setbaseport,orvconfig undo,orvconfig unsetmghost

Every subcommand that -h lists has an entry, and check, history and undo (which -h leaves
out); the title line carries the project's version.

  $ diff <({ "$ORVCONFIG" -h | sed -n 's/^   \([a-z][a-z]*\).*/\1/p'; printf '%s\n' check history undo; } | sort -u) <(entries SUBCOMMANDS | cut -d' ' -f1 | sort -u) && echo same
  same
  $ v=$(sed -n 's/^project(orvconfig VERSION \([0-9.]*\).*/\1/p' "$ORV_SOURCE_DIR/CMakeLists.txt"); grep -c "^\.TH ORVCONFIG 1 \"[0-9-]*\" \"orvconfig $v\" " "$P"
  1
