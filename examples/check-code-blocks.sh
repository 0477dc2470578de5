#!/usr/bin/env bash
# Checks that every block of C++ in Markdown files and in the comments of headers appears in one of the examples, apart
# from indentation.
# Usage: check-code-blocks.sh EXAMPLES_DIRECTORY FILE...
set -euo pipefail
examples=$1
shift

without_indentation() {
    sed 's/^ *//' "$@"
}

sources=()
for source in "$examples"/*.cpp; do
    sources+=($'\n'"$(without_indentation "$source")"$'\n')
done

is_in_an_example() {
    local source
    for source in "${sources[@]}"; do
        [[ $source == *$'\n'"$1"* ]] && return
    done
    return 1
}

blocks=0 missing=0
for page in "$@"; do
    block='' inside=false
    while IFS= read -r line; do
        if ! $inside; then
            [[ $line == '```cpp' ]] && inside=true
        elif [[ $line == '```' ]]; then
            blocks=$((blocks + 1))
            if ! is_in_an_example "$block"; then
                printf '%s: no example has this block:\n%s\n' "$page" "$block" >&2
                missing=$((missing + 1))
            fi
            block='' inside=false
        else
            block+=$line$'\n'
        fi
    done < <(sed -E 's:^/// ?::; s:^@code$:```cpp:; s:^@endcode$:```:' "$page" | without_indentation)
done
echo "$blocks blocks, $missing of them in no example"
((blocks > 0 && missing == 0))
