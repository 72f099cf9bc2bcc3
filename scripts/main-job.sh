#!/usr/bin/env bash
# What `scripts/dev.sh run` runs: the most useful things vigilmoth can do today. Until the live
# loop exists, that is the agents running now, then the lab's score of an example recording.
set -euo pipefail
vigilmoth="$1"
root="$(cd "$(dirname "$0")/.." && pwd)"
"$vigilmoth" --lab-agents
echo
exec "$vigilmoth" --lab-score "$root/examples/refactor-afternoon.jsonl"
