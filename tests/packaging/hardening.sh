#!/bin/sh
# The release binary passes scripts/check-hardening.sh, and the checker
# itself rejects a binary built without each protection.
#   hardening.sh SOURCE_DIR CXX BINARY [CHECK-OPTION]...
set -eu
source_dir=$1 cxx=$2 binary=$3
shift 3
check=$source_dir/scripts/check-hardening.sh

"$check" "$@" "$binary"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
printf '#include <cstdio>\n#include <cstring>\nint main(int argc, char **argv)\n{ char b[16]; strcpy(b, argv[argc - 1]); return printf("%%s", b); }\n' > "$work/weak.cpp"

# Each build leaves one protection out; the checker must name it.
while IFS='|' read -r flags reason; do
    # shellcheck disable=SC2086 # flags is a list
    "$cxx" -O2 -o "$work/weak" "$work/weak.cpp" -fstack-protector-strong -D_FORTIFY_SOURCE=3 \
        -pie -fPIE -Wl,-z,relro,-z,now -static-libstdc++ -static-libgcc $flags
    if report=$("$check" "$work/weak"); then
        echo "check-hardening.sh passed a binary built with $flags"
        exit 1
    fi
    echo "$report" | grep -q "$reason" || { echo "with $flags expected '$reason', got: $report"; exit 1; }
done <<'CASES'
-no-pie -fno-PIE|not position independent
-Wl,-z,lazy|no BIND_NOW
-Wl,-z,norelro|no RELRO segment
-fno-stack-protector|no stack protector
-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=0|no FORTIFY
-Wl,-z,execstack|executable stack
-Wl,--no-as-needed -lstdc++ -shared-libgcc|needs libstdc++
CASES
echo "check-hardening.sh: $binary passes, each weakened build fails"
