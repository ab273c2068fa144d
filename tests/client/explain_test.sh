#!/bin/bash
# `orvo explain`: each step from the bytes of the device to the client's value, computed by hand.
. "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/client.sh"

# explains ITEM: the steps from the compiled address on are what comes in, "step: result" in each line.
explains() {
  go explain --panel plant.panel "$1"
  sed -E '1,2d; s/^  //; s/   *([^ ].*)$/: \1/' out >shown
  check "explain $1: a table" grep -qxE '  -+  -+' out
  sed -n '/^compiled address/,$p' shown >out
  prints "explain $1" 0
}

# 40000 is 0x9C40, delivered as 40 9C; as a signed word 40000 - 65536.
explains WO100 <<'END'
compiled address: 3145828
offset in the group's buffer: none: the group has no buffer
bytes as delivered: 40 9C
number in the words, least significant byte first: -25536 (0x9C40)
cut out by the device: -25536 (0x9C40)
sign: 40000: the same bits as a number that is not negative
BCD: the item is not BCD: the number stays as it is
client value: 40000
error: 0
END
explains WO100:signed <<'END'
compiled address: 3145828
offset in the group's buffer: none: the group has no buffer
bytes as delivered: 40 9C
number in the words, least significant byte first: -25536 (0x9C40)
cut out by the device: -25536 (0x9C40)
sign: the item is signed: the number stays as it is
BCD: the item is not BCD: the number stays as it is
client value: -25536
error: 0
END

# Decimal digits of four bits each. The digits are rounded quotients, so those of 0x18 are 2 and 8.
explains WO106:bcd <<'END'
compiled address: 3145834
offset in the group's buffer: none: the group has no buffer
bytes as delivered: 34 12
number in the words, least significant byte first: 4660 (0x1234)
cut out by the device: 4660 (0x1234)
sign: the number is not negative: it stays as it is
BCD: 1234: decoded as decimal digits, each place rounded
client value: 1234
error: 0
END
explains WO116:bcd <<'END'
compiled address: 3145844
offset in the group's buffer: none: the group has no buffer
bytes as delivered: 18 00
number in the words, least significant byte first: 24 (0x0018)
cut out by the device: 24 (0x0018)
sign: the number is not negative: it stays as it is
BCD: 28: decoded as decimal digits, each place rounded
client value: 28
error: 0
END

# Bit 3 of 0x0008; the high byte of 0xABCD at the even address, the low one behind it.
explains BI102.3 <<'END'
compiled address: 1245286
offset in the group's buffer: none: the group has no buffer
bytes as delivered: 08 00
number in the words, least significant byte first: 8 (0x0008)
cut out by the device: 1 (0x0001)
sign: the number is not negative: it stays as it is
BCD: the item is not BCD: the number stays as it is
client value: 1
error: 0
END
explains BY104 <<'END'
compiled address: 2097256
offset in the group's buffer: none: the group has no buffer
bytes as delivered: CD AB
number in the words, least significant byte first: -21555 (0xABCD)
cut out by the device: 171 (0x00AB)
sign: the number is not negative: it stays as it is
BCD: the item is not BCD: the number stays as it is
client value: 171
error: 0
END
explains BY105 <<'END'
compiled address: 2097257
offset in the group's buffer: none: the group has no buffer
bytes as delivered: CD AB
number in the words, least significant byte first: -21555 (0xABCD)
cut out by the device: 205 (0x00CD)
sign: the number is not negative: it stays as it is
BCD: the item is not BCD: the number stays as it is
client value: 205
error: 0
END

# 0xEFCDAB89 is 4023233417; as a signed number 2^32 less.
explains DW108 <<'END'
compiled address: 4194412
offset in the group's buffer: none: the group has no buffer
bytes as delivered: 89 AB CD EF
number in the words, least significant byte first: -271733879 (0xEFCDAB89)
cut out by the device: -271733879 (0xEFCDAB89)
sign: 4023233417: the same bits as a number that is not negative
BCD: the item is not BCD: the number stays as it is
client value: 4023233417
error: 0
END

# 20.5 is 1.28125 * 2^4: exponent 131, fraction 0.28125, so 0x41A40000.
explains FL112 <<'END'
compiled address: 5242992
offset in the group's buffer: none: the group has no buffer
bytes as delivered: 00 00 A4 41
number in the words, least significant byte first: 20.5
cut out by the device: 20.5
client value: 20.5
error: 0
END
explains ST0020010 <<'END'
compiled address: 6291656
offset in the group's buffer: none: the group has no buffer
bytes as delivered: 56 61 6E 69 6C 6C 61 20 33 25
text: Windows-1252, without zero bytes, 10 characters
client value: "Vanilla 3%"
error: 0
END
explains RA036 <<'END'
compiled address: 7373568
offset in the group's buffer: none: the group has no buffer
bytes as delivered: A0 A1 A2 A3 A4 A5
bytes: handed on as they are
client value: A0 A1 A2 A3 A4 A5
error: 0
END

# --- what stands above the steps, and items of a configuration

cat >line.cfg <<'END'
[Communication Parameters]
DeviceType=2
[Groups]
Line=False#False#500#0#9#
[Group:Line]
Speed=WO100#0#4#1#3145828#0#True#False#
END
go explain --panel plant.panel --config line.cfg Speed
same "an item of a configuration: exit code" 0 $status
for line in 'identifier +WO100 signed' 'name, group +Speed, Line' 'type +integer' 'length +1 words?' \
  "offset in the group's buffer +4 bytes" 'client value +-25536'; do
  check "an item of a configuration: $line" grep -qxE "  $line" out
done

# --- what cannot be read

plant failing.panel <<<'fault WO100 fail 5'
go explain --panel failing.panel WO100
same "an item that fails: exit code" 2 $status
check "an item that fails: its error" grep -qxE '  error +5' out
go explain --panel plant.panel QQ
fails "no such item" 1 "orvo: error -2147221495: Invalid ItemID: QQ: Group Name= explainGroupHandle: 1
orvo: the driver said: 10: Item identifier 'QQ': the type code 'QQ' is none of BI, BY, WO, DW, FL, ST, RA; \
write it like WO100"
go explain --panel plant.panel
same "no item: exit code" 3 $status
same "no item: output" "" "$(cat out)"

finish
