#!/usr/bin/env bash
# Tests the stand-in CAD server with a script client, and also the library generator and tools/read-parts:
# tests/cadserver/check.sh FOLDER_OF_THE_PROGRAMS
#
# The script client and tools/read-parts share no code with the server and the library generator.
#
# The exit status is 0 only if all results are as expected. Needs Debian's python3-olefile.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
top=$(cd "$here/../.." && pwd)
programs=$(cd "$1" && pwd)
work=$(mktemp -d)
windows() { "$top/tools/run-windows" "$@"; }
windows_path() { printf 'Z:%s' "${1//\//\\}"; }
finish() {
  "$top/tools/run-windows" "$programs/cadserver.exe" --unregister || true
  rm -rf "$work"
}
trap finish EXIT
expect() { # expect NAME: standard input must be equal to the file $work/NAME
  if ! diff -u - "$work/$1"; then
    echo "check.sh: $1 is not as expected" >&2
    exit 1
  fi
}

printf 'N_ISO_4017_M8.sldprt\tM8/x 10|M8:x12|Gr\xc3\xb6sse "3"\nN_ISO_4017_M9.sldprt\tM9\n' >"$work/table.tsv"
echo 'names * variants   # VBScript can read no other arrays' >"$work/script.txt"
part=$(windows_path "$work/library/N_ISO_4017_M8.sldprt")

windows "$programs/makelibrary.exe" "$(windows_path "$work/table.tsv")" "$(windows_path "$work/library")" |
  tr -d '\r' >"$work/generator"
expect generator <<'EOF'
2 parts with 4 configurations
EOF
"$top/tools/read-parts" "$work/library" >"$work/before"
expect before <<EOF
N_ISO_4017_M8.sldprt	M8/x 10	0	
N_ISO_4017_M8.sldprt	M8:x12	0	
N_ISO_4017_M8.sldprt	Grösse "3"	0	
N_ISO_4017_M9.sldprt	M9	0	
EOF

windows "$programs/cadserver.exe" --register 25 30 --current 30 --script "$(windows_path "$work/script.txt")" \
  --log "$(windows_path "$work/log")"
windows cscript //nologo "$(windows_path "$here/check.vbs")" "$part" 'Schlüssel ' | tr -d '\r' >"$work/client"
expect client <<'EOF'
date code 2019250
open code 0
count 3
names Variant() 0 to 2
configuration of 7 characters, M8...
configuration of 6 characters, M8...
configuration of 10 characters, Gr...
unknown is nothing: True
open N_ISO_4017_M8.sldprt
save 0
open after closing ''
EOF

"$top/tools/read-parts" "$work/library" >"$work/after"
expect after <<EOF
N_ISO_4017_M8.sldprt	M8/x 10	1	Schlüssel M8/x 10
N_ISO_4017_M8.sldprt	M8:x12	1	Schlüssel M8:x12
N_ISO_4017_M8.sldprt	Grösse "3"	0	
N_ISO_4017_M9.sldprt	M9	0	
EOF
"$top/tools/read-parts" --count-matching "$work/after" "$work/library" >"$work/count"
expect count <<'EOF'
4 of 4 expected lines found, 4 read
EOF

for _ in $(seq 50); do # the server ends shortly after its last call
  if tail -n 1 "$work/log" | grep -q 'reason='; then break; fi
  sleep 0.1
done
sed -E 's/process=[0-9]+/process=N/' "$work/log" >"$work/calls"
name=N_ISO_4017_M8.sldprt
expect calls <<EOF
-	start	process=N	version=30
1	application	GetDateCode	method+get	I4=2019250
2	application	SetDocumentVisibility	method	BOOL=0	I4=1	ok
3	application	OpenDocument	method+get	BSTR=$part	I4=1	BOOL=0	BOOL=0	BOOL=-1	*I4=0	document $name
4	document $name	GetConfigurationCount	method+get	I4=3
5	document $name	GetConfigurationNames	method+get	VARIANT[3]=M8/x 10|M8:x12|Grösse "3"
6	document $name	GetConfiguration	method+get	*BSTR=M8/x 10	configuration $name/M8/x 10
7	configuration $name/M8/x 10	UseAlternativeBomName	put	BOOL=-1	ok
8	configuration $name/M8/x 10	AlternativeBomName	put	BSTR=Schlüssel M8/x 10	ok
9	document $name	GetConfiguration	method+get	*BSTR=M8:x12	configuration $name/M8:x12
10	configuration $name/M8:x12	UseAlternativeBomName	put	BOOL=-1	ok
11	configuration $name/M8:x12	AlternativeBomName	put	BSTR=Schlüssel M8:x12	ok
12	document $name	GetConfiguration	method+get	*BSTR=Grösse "3"	configuration $name/Grösse "3"
13	configuration $name/Grösse "3"	UseAlternativeBomName	put	BOOL=0	ok
14	document $name	GetConfiguration	method+get	BSTR=no such	null
-	application	OpenDocumentNames	method+get	BSTR=$name
15	document $name	Save	method+get	BOOL=-1	I4=0
16	application	CloseDocument	method	BSTR=$part	ok
-	application	OpenDocumentNames	method+get	BSTR=
17	application	SetDocumentVisibility	method	BOOL=-1	I4=1	ok
18	application	Exit	method	ok
-	end	process=N	reason=asked	open=
EOF
windows "$programs/cadserver.exe" --unregister
windows reg query 'HKLM\Software\Classes' >"$work/classes"
if grep -qi 'SldWorks' "$work/classes"; then
  echo "check.sh: a ProgID remains after unregistering" >&2
  exit 1
fi
echo "check.sh: all as expected"
