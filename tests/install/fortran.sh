#!/usr/bin/env bash
# A Fortran program built against the installed library runs.
#
#     fortran.sh COMPILER PREFIX PROGRAM
set -euo pipefail
library=$(dirname "$(find "$2" -name libnimbl.so)")
"$1" -J"$(dirname "$3")" "$(dirname "$0")/date.f90" -L"$library" -lnimbl -Wl,-rpath,"$library" -o "$3"
"$3"
