#!/bin/sh
# Compiles authored trees, good and bad, and compares what the dump tool and the messages say.
# Arguments: the compiler, the dump tool.
set -u
compiler=$1
dump=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
failures=0

fail() {
    echo "FAILED: $1"
    failures=$((failures + 1))
}

# expect NAME ACTUAL-FILE: compares with the standard input.
expect() {
    cat > wanted
    diff -u wanted "$2" || fail "$1"
}

# rejects LINE: the text on the standard input fails at that line and leaves no file.
rejects() {
    cat > bad.xml
    rm -f bad.out
    "$compiler" bad.xml bad.out 2> message && fail "accepted: $(cat bad.xml)"
    grep -q "^bad.xml:$1: ." message || fail "line $1 expected, got: $(cat message)"
    [ -e bad.out ] && fail "a file is left behind: $(cat bad.xml)"
}

cat > good.xml <<'END'
<?xml version="1.0"?>
<!-- A comment. -->
<core:object name="root" z="1" a="2">
    <template name="plugin" class="audio:env" title="{/^ title?x}" title-2="">
        <audio:param name="gains" text="&lt;&amp;&quot;&#228;&#x20AC;"/> <!-- inside -->
        <template class="core:object" name="inner"/>
    </template>
    <content value="a &gt; b"/>
    <content value="a &gt; b"/>
</core:object>
END
"$compiler" good.xml good.bin || fail "good.xml does not compile"
"$dump" good.bin > good.txt || fail "good.bin does not dump"
expect "authored order, entities and templates survive" good.txt <<'END'
# 6 nodes, 2 of them templates; 21 texts
core:object "root"
  .z = "1"
  .a = "2"
  template "plugin" makes audio:env
    .title = "{/^ title?x}"
    .title-2 = ""
    audio:param "gains"
      .text = "<&\"ä€"
    template "inner" makes core:object
  content ""
    .value = "a > b"
  content ""
    .value = "a > b"
END

rejects 1 < /dev/null
rejects 2 <<'END'
<a>
  <b></a>
END
rejects 3 <<'END'
<a>
  <b x="1"
     x="2"/>
</a>
END
rejects 3 <<'END'
<a x="&amp;"
   y="1"
   z="&nbsp;"/>
END
rejects 1 <<'END'
<a x="&#0;"/>
END
rejects 2 <<'END'
<a>
  <template name="t"/>
</a>
END
rejects 2 <<'END'
<a>
  <template class="t"/>
</a>
END
rejects 1 <<'END'
<template name="t" class="core:object"/>
END
rejects 4 <<'END'
<a>
  <b/>

  stray
</a>
END
rejects 2 <<'END'
<a/>
<b/>
END
rejects 2 <<'END'
<a/>
stray
END
printf '<a>\n<b x="\377"/></a>' | rejects 2
awk 'BEGIN { print "<a>"; for (i = 0; i < 65536; i++) print "<b/>"; print "</a>" }' | rejects 1
awk 'BEGIN { print "<a>"; for (i = 0; i < 65536; i++) print "<b x=\"" i "\"/>"; print "</a>" }' |
    rejects 1
"$compiler" missing.xml out.bin 2> message && fail "compiled a missing file"
grep -q '^missing.xml: ' message || fail "missing file not named: $(cat message)"

# The dump tool refuses what is cut or damaged, or prints another tree; it never crashes.
size=$(wc -c < good.bin)
i=0
while [ "$i" -lt "$size" ]; do
    head -c "$i" good.bin > cut.bin
    "$dump" cut.bin > cut.txt 2>&1
    [ $? -eq 1 ] || fail "the first $i bytes are accepted"
    cp good.bin damaged.bin
    printf '\377' | dd of=damaged.bin bs=1 seek="$i" conv=notrunc 2> /dev/null
    "$dump" damaged.bin > damaged.txt 2>&1
    [ $? -le 1 ] || fail "crash with byte $i damaged"
    i=$((i + 3))
done
printf 'x' | cat good.bin - > longer.bin
"$dump" longer.bin > /dev/null 2>&1 && fail "a byte behind the tree is accepted"

[ "$failures" -eq 0 ]
