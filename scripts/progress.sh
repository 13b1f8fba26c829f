# Sourced by run-demo, run-tests and packages.sh: says how far a command is whose output goes to a log.

# with_progress LOG COMMAND...: runs the command, appends its output to the log, and answers its status. Prints a line after
# two seconds and then every five: how long it has been running and the last step that ninja or ctest has told.
with_progress() {
  local log=$1 status=0 ticker
  shift
  touch "$log"
  tell_progress "$log" "$(wc -c <"$log")" &
  ticker=$!
  "$@" >>"$log" 2>&1 || status=$?
  kill "$ticker" 2>/dev/null || true
  wait "$ticker" 2>/dev/null || true
  return $status
}

# tell_progress LOG OFFSET: ends when it is killed, or with the script.
tell_progress() {
  local log=$1 offset=$2 start=$SECONDS pause=2 step
  while sleep $pause >/dev/null 2>&1 && kill -0 $$ 2>/dev/null; do
    pause=5
    step=$(tail -c +$((offset + 1)) "$log" | grep -aoE '^(\[[0-9]+/[0-9]+\] | *[0-9]+/[0-9]+ Test +#).*' | tail -n 1)
    [ -n "$step" ] || step=$(tail -c 400 "$log" | tr '\r' '\n' | grep -a . | tail -n 1)
    printf '   %4d s  %s\n' $((SECONDS - start)) "$(cut -c -100 <<<"${step## }" | tr -s ' .')"
  done
}
