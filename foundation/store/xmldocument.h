// SPDX-License-Identifier: MIT
#ifndef ZORVEX_FOUNDATION_STORE_XMLDOCUMENT_H
#define ZORVEX_FOUNDATION_STORE_XMLDOCUMENT_H

#include <zorvex/foundation/export.h>
#include <zorvex/foundation/store/xmlelement.h>
#include <zorvex/foundation/threads/processinterface.h>

/// A small XML reader and writer for settings files. It forgives much, validates nothing, and knows
/// no namespaces and no DTDs.
///
///     LXMLDocument document;
///     char error[260];
///     if (document.LoadFromFile(process, path, error) == 0 && !*error) ...
///     LStringLongTemplate<char> text;
///     for (const LXMLElement& node : document.Children()) node.SaveToBuffer(text, 0);
///
/// A document is an element without a name. Its children are what stands outermost in the file:
/// the declaration, comments, the document element. Its preserve flag is set at first, so that all
/// blanks between tags are text nodes, which the formatted writer leaves out.
class ZORVEX_API LXMLDocument : public LXMLElement {
 public:
  LXMLDocument() : LXMLElement(true) {}

  /// Replaces the document by a file's (see LLoadTextAutoChar), which is UTF-8, or UTF-16 with a
  /// byte-order mark; what an XML declaration says of it does not count. The text ends at its first
  /// zero byte.
  ///
  /// 0 when it was loaded: what was wrong in the text is then in `error` (260 bytes), which is
  /// empty when all was well, and the document has what was read. 1 when `progress` was asked to
  /// stop: the document is as it was, or has a part of the file. 2 when it was not loaded, with a
  /// message in `error`; the document is as it was.
  ///
  /// A file is not loaded either when twenty times its size is not free (LMemoryGetFreeHeapSize).
  int LoadFromFile(LProcessInterface& progress, const char* path, char* error);
};

#endif  // ZORVEX_FOUNDATION_STORE_XMLDOCUMENT_H
