#!/usr/bin/env python3
"""Looks at which libraries a program or a shared library needs to be loaded, at all distances.

    needs_test.py FILE [LIBRARY...]

ldd may show the libraries of C and C++, and those that are named (as in "libfmt"); nothing else.
"""

import re
import subprocess
import sys

# What every C++ program of the system needs: the linker, and the libraries of C and C++.
SYSTEM = {"linux-vdso", "linux-gate", "ld-linux-x86-64", "ld-linux-aarch64", "libc", "libm",
          "libstdc++", "libgcc_s"}


def main():
    file, *libraries = sys.argv[1:]
    shown = subprocess.run(["ldd", file], check=True, capture_output=True, text=True).stdout
    needed = {re.sub(r"\.so.*", "", line.split()[0].rsplit("/", 1)[-1])
              for line in shown.splitlines()}
    if needed - SYSTEM != set(libraries) or "libc" not in needed:
        sys.exit(f"{file} needs {sorted(needed - SYSTEM)} beside the libraries of C and C++, and "
                 f"is to need {sorted(libraries)}")


if __name__ == "__main__":
    main()
