#!/usr/bin/env bash
# Builds the page into web/dist, if its sources are newer than the last build.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
build_web
