#!/usr/bin/env bash
# Runs a Windows program under Wine in the project's prefix, quietly. With a persistent
# wineserver started by the test runner, later starts are fast.
set -eu
. "$(dirname "$0")/wine-env.sh"
runa1_wine_prefix
exec wine "$@"
