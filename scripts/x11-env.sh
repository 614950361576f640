# Sourced: a private X server for window tests and headless runs.

# Starts an Xvfb of 1024x768x24, whose display number Xvfb picks itself, exports DISPLAY
# and sets RUNA1_XVFB_PID. Returns 1 if Xvfb is missing or does not come up.
runa1_start_xvfb() {
  RUNA1_XVFB_PID=
  command -v Xvfb >/dev/null 2>&1 || return 1
  local display_file
  display_file=$(mktemp)
  Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp 3>"$display_file" >/dev/null 2>&1 &
  RUNA1_XVFB_PID=$!
  for _ in $(seq 50); do [ -s "$display_file" ] && break; sleep 0.1; done
  if [ ! -s "$display_file" ]; then
    rm -f "$display_file"
    runa1_stop_xvfb
    return 1
  fi
  export DISPLAY=":$(cat "$display_file")"
  rm -f "$display_file"
}

runa1_stop_xvfb() {
  if [ -n "${RUNA1_XVFB_PID:-}" ]; then
    kill "$RUNA1_XVFB_PID" 2>/dev/null
    wait "$RUNA1_XVFB_PID" 2>/dev/null
  fi
  RUNA1_XVFB_PID=
}

# True if DISPLAY names an X server that answers.
runa1_display_reachable() {
  [ -n "${DISPLAY:-}" ] && xdpyinfo >/dev/null 2>&1
}
