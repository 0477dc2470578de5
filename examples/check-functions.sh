#!/usr/bin/env bash
# Checks that every public function is called in an example or named in a page.
# Usage: check-functions.sh PROJECT_DIRECTORY HEADER...
set -euo pipefail
project=$1
shift

# The names of the functions that have a comment of documentation, except those of the namespace Impl and the hooks,
# which other libraries call.
public_functions() {
    awk '
        FNR == 1 { isInternal = isPrivate = isDocumented = 0 }
        /^namespace (Tavik::)?Impl/ { isInternal = 1 }
        /^}  \/\/ namespace/ || /^class .*StrB/ { isInternal = 0 }  # the class behind String
        /^ *private:/ { isPrivate = 1 }
        /^ *public:/ || /^};/ { isPrivate = 0 }
        /^#/ { next }
        /^ *\/\/\// { isDocumented = 1; declaration = ""; next }
        isDocumented {
            declaration = declaration " " $0
            if (!/[;{]/) next
            isDocumented = 0
            if (!isInternal && !isPrivate && match(declaration, /[ *&][a-z][A-Za-z_]*\(/))
                print substr(declaration, RSTART + 1, RLENGTH - 2)
        }' "$@" | grep -vE '^(iterator|hash_value|to_json|from_json)$' | sort -u
}

functions=0 missing=0
while read -r name; do
    functions=$((functions + 1))
    if ! grep -qE "\b$name\(|\`([A-Za-z:]*::)?$name\`" \
        "$project"/README.md "$project"/docs/*.md "$project"/examples/*.cpp; then
        echo "in no example and on no page: $name" >&2
        missing=$((missing + 1))
    fi
done < <(public_functions "$@")
echo "$functions functions, $missing of them in no example and on no page"
((functions > 0 && missing == 0))
