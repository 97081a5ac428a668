// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_DESCRIPTORIO_H
#define ZORVEX_FOUNDATION_FILES_DESCRIPTORIO_H

#include <sys/types.h>
#include <sys/uio.h>

#include <cstddef>

/// \file
/// The calls under the readers and writers, with the two rules that all of them share. A descriptor
/// of -1 moves nothing, which is no failure. A call that a signal handler interrupted before it
/// moved anything is made again, as if there had been no signal. Apart from that each is one call:
/// it may move less than it was asked to, and gives -1 and `errno` when it fails.

ssize_t ReadOnce(int descriptor, void* dest, std::size_t count);
ssize_t ReadOnceAt(int descriptor, void* dest, std::size_t count, off_t offset);

/// Neither raises SIGPIPE on a descriptor that MarkPipeToChild was told of, nor on 1024 and above.
ssize_t WriteOnce(int descriptor, const void* bytes, std::size_t count);
ssize_t WritePartsOnce(int descriptor, const iovec* parts, int partCount);

/// Says whether a descriptor is the write end of a pipe to a child process. Writing to a child that
/// is gone then fails with EPIPE and leaves the process alive, at the price of two system calls for
/// each write. Other pipes keep what the process decided about SIGPIPE: its standard output, say.
void MarkPipeToChild(int descriptor, bool isPipeToChild);

#endif  // ZORVEX_FOUNDATION_FILES_DESCRIPTORIO_H
