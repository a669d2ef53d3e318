#!/bin/sh
# Autofocus: focus moves, busy polls and focus reads of doAFocusAll against an
# exhaustive fine sweep, on random simulated focus curves.
#   30-autofocus.sh BUILD_DIR [--quick]
set -e
exec "$1/corvane-af-bench" ${2:+"$2"}
