#!/usr/bin/python3
"""Shows the faults that no test noticed and that have no reason to stay.

  survivors.py FAULTS REASONS RUN SURVIVED TRIED

FAULTS is what mutate.py wrote; RUN and SURVIVED name those that the tests came by and those that none
noticed. In REASONS each line that is not indented is "FILE: KIND: TEXT", as a survivor is shown; the
indented ones that follow say why it may stay.
"""
import json
import sys

faults = json.load(open(sys.argv[1]))
reasons = {line.rstrip() for line in open(sys.argv[2]) if not line.startswith((" ", "#"))}
run, survived = ({int(number) for number in open(name)} for name in sys.argv[3:5])
tried = int(sys.argv[5])

used = set()
without = 0
for fault in faults:
    if fault["fault"] not in survived:
        continue
    name = f'{fault["file"]}: {fault["kind"]}: {fault["text"]}'
    if name in reasons:
        used.add(name)
        continue
    without += 1
    print(f'{fault["fault"]}, line {fault["line"]}: {name}')
print(f"{tried} faults, {tried - len(survived)} noticed, {len(survived) - without} with a reason to stay, "
      f"{without} without; {len(faults) - len(run)} more are fixed when it is compiled, or never run")
if tried == len(run):
    for name in sorted(reasons - used - {""}):
        without += 1
        print(f"survivors.txt has a reason for what is noticed, or not there: {name}")
sys.exit(1 if without else 0)
