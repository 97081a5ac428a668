// SPDX-License-Identifier: MIT
#ifndef ZORVEX_PLATFORM_CFSTRING_H
#define ZORVEX_PLATFORM_CFSTRING_H

#include <memory>
#include <string>
#include <vector>

/// A text that never changes, in UTF-8, shared by everyone who holds it; null for none.
using CFStringRef = std::shared_ptr<const std::string>;

/// A list of texts that never changes; null for none.
using CFArrayRef = std::shared_ptr<const std::vector<CFStringRef>>;

#endif  // ZORVEX_PLATFORM_CFSTRING_H
