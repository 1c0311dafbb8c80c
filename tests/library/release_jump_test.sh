#!/usr/bin/env bash
# release_jump_test.sh MODULE...
# Every Release of a module leaves it by a jump: a module may be unmapped as soon as the library has counted its last
# object down, so nothing of it may stand behind that call.
set -euo pipefail

failed=0
for module in "$@"; do
    objdump --disassemble --demangle --no-show-raw-insn "$module" | awk -v module="$module" '
        BEGIN { target = "Life::Release|ImplBase<.*>::Release" }
        function refuse(why) {
            print module ": " name why
            failed = 1
        }
        function finish() {
            if (name == "")
                return
            ++count
            # A compiler that does not optimise takes the place to jump to from a register.
            if (last !~ /^jmp/ || (last ~ /^jmp +\*%/ ? !named : last !~ target))
                refuse(" ends in: " last)
            name = ""
        }
        /^[0-9a-f]+ <.*>:$/ {
            finish()
            if ($0 ~ /ImplBase<.*>::Release\(\)>:$/)
                name = substr($0, index($0, "<"))
            named = 0
        }
        name != "" && /^ +[0-9a-f]+:\t/ {
            instruction = $0
            sub(/^[^\t]*\t/, "", instruction)
            named = named || instruction ~ target
            if (instruction ~ /^(call|ret)/)
                refuse(" holds: " instruction)
            if (instruction !~ /^(nop|xchg +%ax,%ax|cs nop|data16|int3|add +%al,\(%rax\))/)
                last = instruction
        }
        END {
            finish()
            print module ": " count + 0 " looked at"
            exit failed || !count
        }' || failed=1
done
exit "$failed"
