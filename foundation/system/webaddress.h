// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_SYSTEM_WEBADDRESS_H
#define ZORVEX_FOUNDATION_SYSTEM_WEBADDRESS_H

#include <string>
#include <string_view>

/// \file
/// Addresses as they are handed to other programs. May throw std::bad_alloc.

/// The address, fit to be an argument of a program that opens addresses; empty for one that is not
/// let through. Which those are, and what is encoded, LOpenWebPage tells.
std::string SafeWebAddress(std::string_view address);

/// The "file" address of an absolute path, of which every byte that is neither a letter, a digit,
/// one of `-._~` nor `/` is encoded.
std::string FileAddress(std::string_view path);

#endif  // ZORVEX_FOUNDATION_SYSTEM_WEBADDRESS_H
