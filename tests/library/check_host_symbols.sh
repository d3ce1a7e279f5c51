#!/usr/bin/env bash
# What the library takes from a host is declared under a comment that says when it is called and on which threads.
set -euo pipefail
cd "$(dirname "$0")/../.."
mapfile -t headers < <(find common_include -name '*.h')
awk 'NR == FNR { host[$1]; next }
     {
         said = /When: .*Threads: /
         $0 = substr($0, index($0, "*/"))
         gsub(/[^A-Za-z0-9_]+/, " ")
         for (i = 1; i <= NF; ++i) if ($i in host) { found[$i] = said }
     }
     END {
         for (name in host) if (!found[name]) { print name ": no \"When: ... Threads: ...\""; ++silent }
         exit silent > 0
     }' tests/library/imported.txt RS='/[*][*] ' "${headers[@]}"
