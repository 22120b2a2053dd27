#!/usr/bin/env bash
# must_die.sh asan|tsan PROGRAM: succeeds if the program dies of each fault that this build must stop at.
set -uo pipefail
case "$1" in
asan) faults=(heap arithmetic) ;;
tsan) faults=(race) ;;
*) exit 2 ;;
esac
for fault in "${faults[@]}"; do
    if "$2" "$fault"; then
        echo "survived: $fault"
        exit 1
    fi
done
