#!/usr/bin/env bash
set -euo pipefail
zkgen=$1
"$zkgen" >/dev/null
