// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_FILES_PROCESSTRANSFER_H
#define ZORVEX_FOUNDATION_FILES_PROCESSTRANSFER_H

#include <cstddef>

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/files/filereader.h>
#include <zorvex/foundation/files/filewriter.h>
#include <zorvex/foundation/threads/processinterface.h>

/// \file
/// Reading and writing that can be stopped and tells how far it is. Both go by 10240 bytes, one
/// read or write each: before each it asks whether it is to stop, after each it reports the part
/// that is done, from 0 to 1.
///
/// 0 when all `n` bytes were moved, which for 0 bytes asks and reports nothing; 1 when it was
/// stopped; 2 when one read or write moved less than it should. What was moved before stays moved.
/// A pipe that holds less than a chunk at the moment ends a read with 2.

/// Reads exactly `n` bytes.
ZORVEX_API int LProcessFileRead(LProcessInterface& process, LReadFileRef& file, void* buf,
                                std::size_t n);
/// Writes exactly `n` bytes.
ZORVEX_API int LProcessFileWrite(LProcessInterface& process, LWriteFileRef& file, const void* buf,
                                 std::size_t n);

#endif  // ZORVEX_FOUNDATION_FILES_PROCESSTRANSFER_H
