# Sourced by .ci/run and .ci/check: runs steps, all of them even if one fails, and sums them up.
summary=() passed=0 failed=0

# step NAME COMMAND...: the tests that the command's ctest counts, or else the command as one check.
step() {
  local name="$1" log start=$SECONDS status=0 counts
  shift
  log="$(mktemp)"
  printf '\n#### %s: %s\n' "$name" "$*"
  "$@" 2>&1 | tee "$log" || status=1
  counts="$(sed -nE 's/.* ([0-9]+) tests failed out of ([0-9]+)$/\1 \2/p' "$log" | tail -1)"
  rm -f "$log"
  [[ -n "$counts" ]] || counts="$status 1"
  local bad="${counts% *}" all="${counts#* }"
  ((status == 0 || bad > 0)) || bad=1 # failed beside its tests
  passed=$((passed + all - bad)) failed=$((failed + bad))
  summary+=("$(printf '%-12s %6d s  %5d passed  %4d failed  %s' "$name" $((SECONDS - start)) \
    $((all - bad)) "$bad" "$*")")
}

# Prints what ran and ends the script: with 1 if anything failed.
finish() {
  printf '\n'
  printf '%s\n' "${summary[@]}"
  printf '\n%d passed, %d failed\n' "$passed" "$failed"
  exit $((failed > 0))
}
