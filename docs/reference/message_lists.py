#!/usr/bin/env python3
"""message_lists.py FOLDER: prints the lists of message identifiers and of result codes as one page of the reference.

FOLDER: with apps_message.def and apps_err.def.
"""
import re
import sys


def main():
    folder = sys.argv[1]
    print("# Messages and result codes {#message_lists}\n")
    print("A message's block is the id of its module times 1000; block 0 is for all modules.\n")
    print_list(f"{folder}/apps_message.def", "APPS_MESSAGE_ID", "Messages")
    print_list(f"{folder}/apps_err.def", "APPS_ERR_CODE", "Result codes")


def print_list(path, macro, title):
    print(f"## {title}\n")
    open_table = False
    for line in open(path, encoding="utf-8"):
        heading = re.match(r"/\* (.*) \*/$", line)
        row = re.match(rf"{macro}\((\w+), (-?\d+)\)", line)
        if heading:
            print(f"\n### {heading.group(1)[0].upper()}{heading.group(1)[1:]}\n")
            open_table = False
        elif row:
            if not open_table:
                print("| Number | Name |\n|---:|---|")
            open_table = True
            print(f"| {row.group(2)} | {row.group(1)} |")


if __name__ == "__main__":
    main()
