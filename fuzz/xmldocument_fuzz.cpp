// SPDX-License-Identifier: MIT
// Whatever is in an XML text, loading it gives what a slow and obvious reader gives, character by
// character and by recursion. The first byte says whether blanks are preserved.
#include <strings.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "foundation/store/xmldocument.h"

namespace {

using Loader = LXMLLoaderTemplate<char>;
using Long = LStringLongTemplate<char>;

// Deeper inputs are loaded without the model.
constexpr int kDeepest = 500;

struct TooDeep {};

constexpr char kEof[] =
    "(EOF) Element <%s> should be terminated with </%s>. Check you have terminated your element "
    "properly.";

void Require(bool condition) {
  if (!condition) std::abort();
}

void SetError(Loader& loader, std::string format, const std::string& a, const std::string& b = "",
              const std::string& c = "") {
  std::size_t place = 0;
  for (const std::string* name : {&a, &b, &c}) {
    place = format.find("%s", place);
    if (place == std::string::npos) break;
    format.replace(place, 2, *name);
    place += name->size();
  }
  loader.SetError(format.c_str());
}

class Model {
 public:
  explicit Model(Loader& loader) : loader_(loader) {}

  std::string Content(const char* name, bool preserve, int depth) {
    if (depth > kDeepest) throw TooDeep();
    std::string dump, text;
    for (bool isOpen = true; isOpen;) {
      const char c = loader_.GetChar();
      if (c == 0) {
        if (name) SetError(loader_, kEof, name, name);
        break;
      }
      if (c == '&') {
        char decoded[4];
        XMLAmpChar(loader_, decoded);
        text += decoded;
      } else if (c == '<') {
        char tag[260];
        const char stop = XMLLoadTag(loader_, tag);
        if (*tag) {
          Store(text, preserve, dump);
          dump += Element(tag, stop, preserve, depth);
        } else {
          End(name, stop);
          isOpen = false;
        }
      } else {
        text += c;
      }
    }
    Store(text, preserve, dump);
    return dump;
  }

 private:
  static void Store(std::string& text, bool preserve, std::string& dump) {
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 32; };
    while (!preserve && !text.empty() && isControl(text.back()))
      text.pop_back();
    while (!preserve && !text.empty() && isControl(text.front()))
      text.erase(0, 1);
    if (!text.empty()) dump += "'" + text + "'";
    text.clear();
  }

  void End(const char* name, char stop) {
    if (stop != '/') {
      loader_.SetError("Misplaced < without name. Use &lt; instead of < if appropriate.");
      return;
    }
    char closing[260];
    stop = XMLLoadTag(loader_, closing);
    if (!name)
      SetError(loader_, "Misplaced </%s> which does not match a <%s>.", closing, closing);
    else if (std::strcmp(name, closing) != 0)
      SetError(loader_,
               "Element <%s> should be terminated with </%s>, was with %s. Check you have "
               "terminated your element properly.",
               name, name, closing);
    while (stop != '>' && stop != 0)
      stop = loader_.GetChar();
  }

  std::string Element(const std::string& name, char stop, bool preserve, int depth) {
    if (name[0] == '!') return "[" + name + "'" + Markup(name) + "']";
    LHashTable attributes;
    bool isEmpty = name[0] == '?';
    while (stop != '>' && stop != 0) {
      if (stop == '/') isEmpty = true;
      char key[260];
      Long value = "";
      stop = XMLLoadTag(loader_, key);
      if (stop == ' ' && loader_.text[loader_.position] == '=') stop = loader_.GetChar();
      if (stop == '=') {
        stop = XMLLoadAttribute(loader_, value);
        if (stop == '>' && !value.IsEmpty() && value.Text()[value.Length() - 1] == '?')
          value.SetLength(value.Length() - 1);
      }
      if (*key && strcasecmp(key, "xml:space") == 0)
        preserve = true;
      else if (*key)
        attributes.SetString(key, value.Text());
    }
    std::string dump = "[" + name;
    for (LHashTableConstIterator entry(attributes.Entries()); entry.Current(); entry.Next())
      dump += std::string("{") + entry.Current()->key.Text() + "=" +
              entry.Current()->value->Text() + "}";
    if (stop == 0) SetError(loader_, "Tag <%s> does not have a closing '>'", name);
    if (stop == '>' && !isEmpty) dump += Content(name.c_str(), preserve, depth + 1);
    return dump + "]";
  }

  std::string Markup(const std::string& name) {
    const std::string ending = name == "!--" ? "-->" : name == "![CDATA[" ? "]]>" : "";
    bool isInside = false;
    std::string text;
    for (;;) {
      const char c = loader_.GetChar();
      if (c == 0) {
        SetError(loader_, kEof, name, name);
        return text;
      }
      text += c;
      if (c == '[' || c == ']') isInside = c == '[';
      if (!ending.empty() && text.ends_with(ending)) return text.substr(0, text.size() - 3);
      if (name == "!DOCTYPE" && c == '>' && !isInside) return text.substr(0, text.size() - 1);
    }
  }

  Loader& loader_;
};

void Dump(const LXMLElement& parent, std::string& out) {
  for (const LXMLElement& node : parent.Children()) {
    if (!node.Name()) {
      out.append("'").append(node.Data()).append("'");
      continue;
    }
    out.append("[").append(node.Name());
    for (LHashTableConstIterator entry(node.Attributes().Entries()); entry.Current(); entry.Next())
      out.append("{")
          .append(entry.Current()->key.Text())
          .append("=")
          .append(entry.Current()->value->Text())
          .append("}");
    Dump(node, out);
    out += "]";
  }
}

std::string DumpOf(const LXMLElement& element) {
  std::string out;
  Dump(element, out);
  return out;
}

std::string AsItIs(const LXMLElement& element) {
  Long out;
  for (const LXMLElement& node : element.Children())
    node.SaveToBufferNoFormatting(out);
  return {out.Text(), out.Length()};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data) + (size > 0), size > 0 ? size - 1 : 0);
  const bool preserve = size == 0 || data[0] % 2 == 0;
  LProcessInterfaceVoid process;
  char error[260] = "", modelError[260] = "";
  Loader loader{text.c_str(), error, 0, 1, 1, &process};
  LXMLDocument document;
  document.SetPreserveWhitespace(preserve);
  document.LoadData(loader);
  Long formatted;
  for (const LXMLElement& node : document.Children())
    node.SaveToBuffer(formatted, 0);

  Loader modelLoader{text.c_str(), modelError, 0, 1, 1, &process};
  std::string dump;
  try {
    dump = Model(modelLoader).Content(nullptr, preserve, 0);
  } catch (const TooDeep&) {
    return 0;
  }
  const std::string saved = AsItIs(document);  // with attributes packed, then in tables
  Require(DumpOf(document) == dump);
  Require(AsItIs(document) == saved);
  Require(DumpOf(LXMLDocument(document)) == dump);
  Require(std::strcmp(error, modelError) == 0);
  Require(loader.position == modelLoader.position && loader.line == modelLoader.line &&
          loader.column == modelLoader.column);
  return 0;
}
