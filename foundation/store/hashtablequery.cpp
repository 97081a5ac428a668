// SPDX-License-Identifier: MIT
// LHashTable to and from lines of text.
#include "foundation/store/hashtable.h"
#include "foundation/store/hashtableentry.h"
#include "foundation/store/uricodec.h"
#include "foundation/text/stringwriter.h"

namespace {

using String = LStringLongTemplate<char>;

/// What every writer's target begins with, and what it grows from.
constexpr std::uint64_t kFirstCapacity = 260;

/// A name or a value of a query string rarely outgrows this.
constexpr std::uint64_t kScratchCapacity = 8192;

/// A writer for `string` that terminates it in the end, whatever happens.
class TerminatingWriter {
 public:
  explicit TerminatingWriter(String& string) : writer_(Grown(string)) {}
  ~TerminatingWriter() { writer_.Terminate(); }
  TerminatingWriter(const TerminatingWriter&) = delete;
  TerminatingWriter& operator=(const TerminatingWriter&) = delete;

  LStringLongTemplateWriter<char>& operator*() { return writer_; }
  LStringLongTemplateWriter<char>* operator->() { return &writer_; }

 private:
  static String& Grown(String& string) {
    string.GrowToSize(kFirstCapacity);
    return string;
  }

  LStringLongTemplateWriter<char> writer_;
};

/// Decodes into an emptied scratch string; returns the text behind.
const char* DecodePart(String& part, const char* text, const char* stopChars) {
  part.SetLength(0);
  TerminatingWriter writer(part);
  return text + LURIDecodeToWriterDirect(*writer, text, stopChars);
}

}  // namespace

void LHashTable::LoadHTTPStringUTF8(const char* text) {
  if (!text || *text == 0) return;
  String name;
  String value;
  name.GrowToSize(kScratchCapacity);
  value.GrowToSize(kScratchCapacity);
  while (*text) {
    text = DecodePart(name, text, "=&");
    if (*text == '=') ++text;
    text = DecodePart(value, text, "&");
    if (*text == '&') ++text;
    if (name.IsEmpty()) continue;
    const LStringLongKey::Probe probe = ProbeToAdd(tree_, {name.Text(), name.Length()});
    Node* node = MakeHashTableEntry(probe, {value.Text(), value.Length()});
    tree_.Insert(node, tree_.PlaceOf(probe));
  }
}

void LHashTable::SaveHTTPString(String& out) const {
  out.SetLength(0);
  TerminatingWriter writer(out);
  for (LHashTableConstIterator entry(tree_); entry.Current(); entry.Next()) {
    if (entry.Current() != tree_.First()) writer->AddChar('&');
    LURIEncodeToWriter(*writer, entry.Current()->key.Text());
    writer->AddChar('=');
    LURIEncodeToWriter(*writer, entry.Current()->value->Text());
  }
}

void LHashTable::SaveString(String& out) const {
  TerminatingWriter writer(out);
  for (LHashTableConstIterator entry(tree_); entry.Current(); entry.Next()) {
    const Node& node = *entry.Current();
    if (&node != tree_.First()) writer->AddChar('&');
    writer->AddText(node.key.Text(), node.key.Length());
    writer->AddChar('=');
    writer->AddText(node.value->Text(), node.value->Length());
  }
}
