# What came of a run of qmicli, in any shell: ok, the number of its QMI error, or ? for anything else.
# shellcheck shell=sh disable=SC2154
outcome_of() {
  if timeout 30 qmicli "$@" >"$work/output" 2>&1; then
    echo ok
  elif grep -q "ds profile error" "$work/output"; then
    echo 81
  else
    sed -n "s/^error.*QMI protocol error (\([0-9]*\)).*/\1/p" "$work/output" | grep . || echo "?"
  fi
}
