// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_BASE64VECTOR_H
#define ZORVEX_FOUNDATION_STORE_BASE64VECTOR_H

#include <cstddef>

/// \file
/// The long way of Base64 in vectors, where the processor has them: 24 bytes or 32 characters in
/// one step. What is left, and everything on other processors, is for base64.cpp.

/// Writes four characters for each of the first groups of three bytes; nothing is read beyond
/// `groups` of them. Returns the number of groups done: all but seven at most, or none.
std::size_t Base64EncodeVectors(const unsigned char* bytes, std::size_t groups, char* out);

/// Writes three bytes for each of the first groups of four characters of the alphabet and stops at
/// a place before the first other character. Returns the number of groups done.
std::size_t Base64DecodeVectors(const char* text, std::size_t length, unsigned char* out);

#endif  // ZORVEX_FOUNDATION_STORE_BASE64VECTOR_H
