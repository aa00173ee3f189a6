# SPDX-License-Identifier: Apache-2.0
# Writes SOURCE: the bytes of FILE as an array.
file(READ ${FILE} bytes HEX)
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
file(WRITE ${SOURCE} "#include \"${HEADER}\"
const unsigned char ${SYMBOL}[] = {${bytes}};
const std::size_t ${SYMBOL}Size = sizeof ${SYMBOL};
")
