#!/usr/bin/env bash
# Pictures of the desktop program for the README: starts brinora-gui under a
# virtual X display (Xvfb), fills in a sample, calculates it, runs a small
# batch with its preview, runs the example cruise (examples/cruise.csv) and
# plots its depth profile on the graph tab, and saves one PNG per tab into the
# folder given (default docs/). Uses a settings file of its own, never the user's.
#   scripts/screenshots.sh [folder]
set -euo pipefail
cd "$(dirname "$0")/.."
out="${1:-docs}"
build="${BUILD_DIR:-build}"
program="$build/gui/brinora-gui"
if [ ! -x "$program" ]; then
  echo "screenshots.sh: $program not found; run 'make build' first" >&2
  exit 1
fi
mkdir -p "$out"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
export XDG_CONFIG_HOME="$scratch/config" XDG_RUNTIME_DIR="$scratch/runtime"
mkdir -p "$XDG_RUNTIME_DIR" && chmod 700 "$XDG_RUNTIME_DIR"
run=("$program" --settings "$scratch/settings.ini" --screenshots "$out" --graph-cruise "$PWD/examples/cruise.csv")
if command -v xvfb-run >/dev/null 2>&1; then
  QT_QPA_PLATFORM=xcb xvfb-run -a -s "-screen 0 1280x1024x24" "${run[@]}"
else
  echo "screenshots.sh: xvfb-run not found; drawing on the offscreen platform" >&2
  QT_QPA_PLATFORM=offscreen "${run[@]}"
fi
ls -1 "$out"/*.png
