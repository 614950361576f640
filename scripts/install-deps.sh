#!/usr/bin/env bash
# Turns a fresh Debian bookworm machine into one that builds and tests both builds.
# Idempotent: installs only what is missing and says nothing when all is present.
set -euo pipefail

# Debian packages for the amd64 side (compilers, cross compiler, test helpers, fonts, the sound
# rig and the tools that make and check test sounds and music).
native_pkgs=(cmake make ninja-build g++ clang libclang-rt-14-dev googletest libbenchmark-dev libpixman-1-dev
             libpng-dev libjpeg62-turbo-dev
             g++-mingw-w64-i686-posix gcc-mingw-w64-i686-posix binutils-mingw-w64-i686
             xvfb xauth x11-utils xdotool x11-apps netpbm
             libfreetype-dev libfontconfig-dev fonts-ipafont-gothic libsdl2-dev
             sox pulseaudio pulseaudio-utils timgm6mb-soundfont fluidsynth python3-mido espeak-ng)
# Wine with its 32-bit half, which needs the i386 architecture.
wine_pkgs=(wine wine32:i386)

missing=()
for p in "${native_pkgs[@]}" "${wine_pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

if [ "$(id -u)" -ne 0 ]; then
  if command -v sudo >/dev/null 2>&1; then SUDO=sudo; else
    echo "install-deps: missing packages (${missing[*]}) and not root; install them or run as root" >&2
    exit 1
  fi
else SUDO=; fi

echo "install-deps: installing ${missing[*]}"
if ! dpkg --print-foreign-architectures | grep -qx i386; then
  $SUDO dpkg --add-architecture i386
fi
export DEBIAN_FRONTEND=noninteractive
# One stale index (often the i386 security one) must not stop the install: the pinned
# bookworm suite below is enough, so a failed update is only a warning.
$SUDO apt-get update -qq >/tmp/install-deps.log 2>&1 ||
  echo "install-deps: apt-get update reported errors (see /tmp/install-deps.log); going on" >&2
# The bookworm pin keeps amd64 and i386 library versions in step when the i386 security
# index lags behind the amd64 one.
if ! $SUDO apt-get install -y -qq -t bookworm --no-install-recommends "${missing[@]}" >>/tmp/install-deps.log 2>&1; then
  tail -30 /tmp/install-deps.log >&2
  echo "install-deps: could not install ${missing[*]} (full log: /tmp/install-deps.log)" >&2
  exit 1
fi
echo "install-deps: done"
