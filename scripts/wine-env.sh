# Sourced: the environment of the project's Wine prefix.
# One prefix per checkout, so that test runs of two checkouts never share a wineserver.
export WINEPREFIX="${RUNA1_WINEPREFIX:-$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/build/wine}"
export WINEDEBUG="${WINEDEBUG:--all}"
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"

# Makes the prefix on first use (about 25 s) and waits until it is complete.
runa1_wine_prefix() {
  if [ ! -f "$WINEPREFIX/system.reg" ]; then
    mkdir -p "$WINEPREFIX"
    wineboot -i >/dev/null 2>&1 || true
    wineserver -w
  fi
}
