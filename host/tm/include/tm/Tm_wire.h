#pragma once
// The wire form of a Message, in MessagePack. Lossless: every value keeps its exact TMV (an int16
// decodes as an int16), and names, types, groups, catalogs and the catalog switch come back.
//
// Layout, in msgpack terms. Each group lists its member names once and the "shapes" of its
// structures (member names and types, in order) once; a structure then carries only its shape's
// index, its simple values packed into one binary "row", and its other values. Records of one kind
// share a shape, so a record costs a few msgpack items instead of two per member.
//
//   message = array(6) [format 1 (uint), message type 0|1 (uint), request name (str),
//                       catalog switch (bool), group 0, group 1]
//   group   = array(4) [catalog, names, shapes, members]
//   catalog = nil when the group's catalog is not on the wire, else uint m: the first m names are
//             the catalog's entries, in order
//   names   = array of str: the member names the group's shapes refer to; distinct, no NUL bytes
//   shapes  = array of shape
//   shape   = array(2k) [name index, TMV, ...]: for each of k members, an index into names and
//             the member's value type (0..13)
//   members = a struct
//   struct  = array(2 + c) [shape index (uint), row, one value for each of the shape's c string,
//                           binary, struct and array members, in member order]
//   array   = array(2 + c) [item types (bin, one TMV byte per item), row, one value for each of the
//                           c string, binary, struct and array items, in item order]
//   row     = bin: the simple members or items in order, each big-endian in the width of its type:
//             int8, uint8, bool (0 or 1) 1 byte; int16, uint16 2; int32, uint32 4; int64, uint64,
//             double (its IEEE 754 bits) 8
//   value   = string: str; binary: bin; struct and array as above
//
// Decoding treats the bytes as hostile. Anything that does not fit the layout throws Tm_exception
// with a text beginning "wire: " that says what was wrong ("wire: truncated message", "wire:
// nesting deeper than 64", "wire: shape 0 refers to name 7 outside the group's 3 names", ...).
// Arrays nest at most tm_wire_max_depth deep, counting the message's and the group's own; every
// declared count is checked against the input size before anything is reserved, so memory stays
// within a small multiple of the input size.

#include <cstddef>
#include <vector>

#include "tm/Message.h"

constexpr int tm_wire_max_depth = 64;

// Throws Tm_exception when the message nests deeper than tm_wire_max_depth or a catalog entry
// holds a NUL byte.
std::vector<unsigned char> tm_encode(const Message& message);
// data may be null only when size is 0.
Message tm_decode(const unsigned char* data, std::size_t size);
Message tm_decode(const std::vector<unsigned char>& bytes);
