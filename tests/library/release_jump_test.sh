#!/usr/bin/env bash
# release_jump_test.sh MODULE...
# Every Release of a module leaves it by a jump: a module may be unmapped as soon as the library has counted its last
# object down, so nothing of it may stand behind that call.
set -euo pipefail

for module in "$@"; do
    objdump --disassemble --demangle --no-show-raw-insn "$module" | awk -v module="$module" '
        function finish() {
            if (name == "")
                return
            ++count
            if (last !~ /^jmp/ || last !~ /Life::Release|ImplBase<.*>::Release/) {
                print module ": " name " ends in: " last
                failed = 1
            }
            name = ""
        }
        /^[0-9a-f]+ <.*>:$/ {
            finish()
            if ($0 ~ /ImplBase<.*>::Release\(\)>:$/)
                name = substr($0, index($0, "<"))
        }
        name != "" && /^ +[0-9a-f]+:\t/ {
            instruction = $0
            sub(/^[^\t]*\t/, "", instruction)
            if (instruction ~ /^(call|ret)/) {
                print module ": " name " holds: " instruction
                failed = 1
            }
            if (instruction !~ /^(nop|xchg +%ax,%ax|cs nop|data16|int3|add +%al,\(%rax\))/)
                last = instruction
        }
        END {
            finish()
            if (count == 0) {
                print module ": has no Release at all"
                failed = 1
            } else {
                print module ": " count " looked at"
            }
            exit failed
        }'
done
