#!/usr/bin/env bash
# What `scripts/dev.sh run` runs: the most useful thing vigilmoth can do today.
set -euo pipefail
vigilmoth="$1"
exec "$vigilmoth" --lab-agents
