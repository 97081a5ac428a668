// SPDX-License-Identifier: MIT
#include "foundation/store/xmldocument.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>

#include "foundation/system/memory.h"

namespace {

using Long = LStringLongTemplate<char>;

struct Loaded {
  explicit Loaded(const std::string& text) {
    LProcessInterfaceVoid process;
    LXMLLoaderTemplate<char> loader{text.c_str(), error, 0, 1, 1, &process};
    document.LoadData(loader);
  }
  LXMLDocument document;
  char error[260] = "";
};

std::string Formatted(const LXMLElement& parent, int depth = 0) {
  Long out;
  for (const LXMLElement& node : parent.Children())
    node.SaveToBuffer(out, depth);
  return {out.Text(), out.Length()};
}

std::string AsItIs(const LXMLElement& parent) {
  Long out;
  for (const LXMLElement& node : parent.Children())
    node.SaveToBufferNoFormatting(out);
  return {out.Text(), out.Length()};
}

/// What is loaded, in a form that hides nothing: [name{attribute=value}...], 'text'.
std::string Dump(const LXMLElement& parent) {
  std::string out;
  for (const LXMLElement& node : parent.Children()) {
    if (!node.Name()) {
      out += "'" + std::string(node.Data()) + "'";
      continue;
    }
    out += "[" + std::string(node.Name());
    for (LHashTableConstIterator entry(node.Attributes().Entries()); entry.Current(); entry.Next())
      out += "{" + std::string(entry.Current()->key.Text()) + "=" + entry.Current()->value->Text() +
             "}";
    out += Dump(node) + "]";
  }
  return out;
}

std::string Repeat(const std::string& text, int count) {
  std::string out;
  for (int i = 0; i < count; ++i)
    out += text;
  return out;
}

const std::string kEof =
    "(EOF) Element <a> should be terminated with </a>. Check you have "
    "terminated your element properly.";
const std::string kAmpersand =
    "Strings starting with an ampersand (&) must end with a semicolon (;). Either replace the '&' "
    "with '&amp;' or add a ';' at the end of the control string.";

TEST(XmlDocument, Reads) {
  const std::string n259(259, 'n'), n5000(5000, 'n');
  const struct {
    std::string text, dump;
    std::string error = "";
  } kCases[] = {
      {"", ""},
      {"  \n", "'  \n'"},
      {"<a>x</a>", "[a'x']"},
      {"<a>text", "[a'text']", "Ln 1, Col 8: " + kEof},
      {"<a>\r\n\n\rtext\r", "[a'\n\ntext\n']", "Ln 4, Col 1: " + kEof},
      {"<a></b><c/>", "[a][c]",
       "Ln 1, Col 8: Element <a> should be terminated with </a>, was with b. Check you have "
       "terminated your element properly."},
      {"x</b>y<c/>", "'x'", "Ln 1, Col 6: Misplaced </b> which does not match a <b>."},
      {"<a>x < y</a><b/>", "[a'x ']'y'",
       "Ln 1, Col 8: Misplaced < without name. Use &lt; instead of < if appropriate."},
      {"<a>x <> y</a>z", "[a'x ']' y'",
       "Ln 1, Col 8: Misplaced < without name. Use &lt; instead of < if appropriate."},
      {"<a b='1'", "[a{b=1}]", "Ln 1, Col 9: Tag <a> does not have a closing '>'"},
      {"<a\n b", "[a{b=}]", "Ln 2, Col 3: Tag <a> does not have a closing '>'"},
      // entities
      {"<a>a &unknown; b</a>", "[a'a & b']"},
      {"<a>&#x41;&#65;&lt;&gt;&amp;&quot;&apos;&AMP;</a>", "[a'AA<>&\"'&']"},
      {"<a>&#128512;&#x1F600;</a>", "[a'\xEF\x98\x80\xEF\x98\x80']"},
      {"<a>[&#0;&#X41;&#x;&#;&#65536;]&#x4g1;&#-1;</a>", "[a'[]A\xEF\xBF\xBF']"},
      {"<a>x&y z</a>", "[a'xz']", "Ln 1, Col 8: " + kAmpersand},
      {"<a>&" + std::string(23, 'e') + ";&" + std::string(24, 'e') + ";</a>", "[a'&;']",
       "Ln 1, Col 54: " + kAmpersand},
      {"<a>&lt", "[a]", "Ln 1, Col 7: " + kAmpersand},
      {"<a b='&lt;&#65;'/><&#65;x/><'q r'/>", "[a{b=<A}][Ax][q r]"},
      // attributes
      {"<a b=\"1\" b=\"2\" B='3'/>", "[a{B=3}{b=2}]"},
      {"<a b = \"1\" c= 'x y' d ='\"' e='>' f=g/>", "[a{b=1}{c=x y}{d=\"}{e=>}{f=g}]"},
      {"<a b  =\"1\"/>", "[a{b=}]"},
      {"<a b=\t\"1\"/>", "[a{1=}{b=}]"},
      {"<a b=\"1\"c=\"2\"/>", "[a{2=}{b=1c}]"},
      {"<a b=x'y'\"z\"w />", "[a{b=xyzw}]"},
      {"<a / b=1>", "[a{b=1}]"},
      {"<a=\"5\">x</a>", "[a{5=}'x']"},
      {"<?xml version=\"1.0\"?><?p q?>", "[?xml{version=1.0}][?p{q?=}]"},
      {"<?xml version='1' ?>", "[?xml{?=}{version=1}]"},
      {"<a b='x?'>y</a>", "[a{b=x}'y']"},
      {"<a\tb='1'\r\nc='2\r\n3'\n\rd\n/>", "[a{b=1}{c=2\n3}{d=}]"},
      {"<a xml:space='preserve' XML:Space b=1>x</a>", "[a{b=1}'x']"},
      {"<" + n5000 + " " + n5000 + "='" + n5000 + "'/>",
       "[" + n259 + "{" + n259 + "=" + n5000 + "}]"},
      {"<" + n5000 + ">x</" + n5000 + "z>", "[" + n259 + "'x']"},
      {"<'b>'></b>>", "[b>]'>'",
       "Ln 1, Col 11: Element <b>> should be terminated with </b>>, was with b. Check you have "
       "terminated your element properly."},
      // markup
      {"<!-- x --><a/>", "[!--' x '][a]"},
      {"<!----><!--->--><!-->-->", "[!--''][!--'->'][!--'>']"},
      {"<!--a\r\nb-c--d->>e-->", "[!--'a\nb-c--d->>e']"},
      {"<![CDATA[<&amp;]]]>x]]><b/>", "[![CDATA['<&amp;]']'x]]>'[b]"},
      {"<!DOCTYPE a [<!ENTITY b \"c\">\n]><d/>", "[!DOCTYPE' a [<!ENTITY b \"c\">\n]'][d]"},
      {"<!DOCTYPEx>y", "[!DOCTYPE'x']'y'"},
      {"<!x>y", "[!x'y']",
       "Ln 1, Col 6: (EOF) Element <!x> should be terminated with </!x>. Check you have terminated "
       "your element properly."},
      {"<a><!--x", "[a[!--'x']]",
       "Ln 1, Col 9: (EOF) Element <!--> should be terminated with </!-->. Check you have "
       "terminated your element properly."},
      {std::string("<a>x\0</a>", 9), "[a'x']", "Ln 1, Col 5: " + kEof},
      {Repeat("&a ", 3000) + Repeat("&a;", 3000), "'" + Repeat("&", 3000) + "'",
       "Ln 1, Col 4: " + kAmpersand},
  };
  for (const auto& test : kCases) {
    const Loaded loaded(test.text);
    SCOPED_TRACE(test.text.substr(0, 100));
    EXPECT_EQ(Dump(loaded.document), test.dump);
    EXPECT_EQ(loaded.error, test.error.substr(0, 259));
  }
}

TEST(XmlDocument, TrimsWhereWhitespaceIsNotPreserved) {
  const struct {
    const char* text;
    const char* dump;
  } kCases[] = {
      {"\n\t x \n<b>\r\n</b>\t<c xml:space=''>\n<d> \n</d></c>\x01</a>", "' x '[b][c'\n'[d' \n']]"},
      {"&#10;\xC3\xA9&#9;</a>", "'\xC3\xA9'"},
      {"\n&#1; &#31;</a>", "' '"},
  };
  for (const auto& test : kCases) {
    Loaded loaded("");
    LXMLElement* const element = loaded.document.AddElement("a");
    element->SetPreserveWhitespace(false);
    LProcessInterfaceVoid process;
    LXMLLoaderTemplate<char> loader{test.text, loaded.error, 0, 1, 1, &process};
    element->LoadData(loader);
    EXPECT_EQ(Dump(*element), test.dump);
    EXPECT_STREQ(loaded.error, "");
    EXPECT_EQ(loader.text + loader.position, test.text + std::strlen(test.text));
  }
}

TEST(XmlDocument, Writes) {
  const struct {
    const char* text;
    const char* formatted;
    const char* negativeDepth;
    const char* asItIs;
  } kCases[] = {
      {"<?xml b='1' version='1.0' a='2'?>\n<s>\n <n><m>1</m><o> \t</o></n>\n</s>",
       "<?xml version=\"1.0\" a=\"2\" "
       "b=\"1\"?>\n<s>\n\t<n>\n\t\t<m>1</m>\n\t\t<o/>\n\t</n>\n</s>\n",
       "<?xml version=\"1.0\" a=\"2\" b=\"1\"?><s><n><m>1</m>\n<o/></n>\n</s>\n",
       "<?xml version=\"1.0\" a=\"2\" b=\"1\"?>\n<s>\n <n><m>1</m><o> \t</o></n>\n</s>"},
      {"<a c='&lt;&amp;&#39;&quot;\n' b=''>&lt;&gt;&quot;'&#13;&#10;&#13;x&#10;&#13;y&#13;z</a>",
       "<a b=\"\" c=\"&lt;&amp;'&quot;\n\">&lt;&gt;&quot;'\n\nx\ny\nz</a>\n",
       "<a b=\"\" c=\"&lt;&amp;'&quot;\n\">&lt;&gt;&quot;'\n\nx\ny\nz</a>\n",
       "<a b=\"\" c=\"&lt;&amp;'&quot;\n\">&lt;&gt;&quot;'\r\n\rx\n\ry\rz</a>"},
      {"<!-- x<& --><!DOCTYPE a><a>x<![CDATA[<&]]><b> </b></a>",
       "<!-- x<& -->\n<!DOCTYPE a>\n<a>\nx\t<![CDATA[<&]]>\n\t<b/>\n</a>\n",
       "<!-- x<& --><!DOCTYPE a><a>x<![CDATA[<&]]><b/></a>\n",
       "<!-- x<& --><!DOCTYPE a><a>x<![CDATA[<&]]><b> </b></a>"},
      {"<?p>x<a/>", "<?p?>\nx<a/>\n", "<?p?>x<a/>", "<?p?>x<a/>"},
  };
  for (const auto& test : kCases) {
    const Loaded loaded(test.text);
    EXPECT_EQ(Formatted(loaded.document), test.formatted);
    EXPECT_EQ(Formatted(loaded.document, -7), test.negativeDepth);
    EXPECT_EQ(AsItIs(loaded.document), test.asItIs);
  }

  const Loaded loaded("<a><b>x</b></a>  y");
  Long out = "before ";
  EXPECT_TRUE(loaded.document.GetElement("a")->SaveToBuffer(out, 2));
  EXPECT_STREQ(out.Text(), "before \t\t<a>\n\t\t\t<b>x</b>\n\t\t</a>\n");
  const Loaded blank(" \r\n\t");
  out = "";
  EXPECT_FALSE(blank.document.Children().Head()->SaveToBuffer(out, 0));
  EXPECT_FALSE(blank.document.SaveToBuffer(out, 0));
  EXPECT_FALSE(blank.document.SaveToBufferNoFormatting(out));
  EXPECT_STREQ(out.Text(), "");
  EXPECT_TRUE(blank.document.Children().Head()->SaveToBufferNoFormatting(out));
  EXPECT_STREQ(out.Text(), " \n\t");
}

TEST(XmlDocument, GivesAndTakesValues) {
  Loaded loaded("<s>t<n> 12x</n><e/><f>2.5</f><e>2</e><c><!--c-->y</c><n>3</n></s>");
  LXMLElement& s = *loaded.document.GetElement("s");
  const auto get = [&](const char* name) {
    char out[260];
    s.GetString(name, "default", out);
    return std::string(out);
  };
  EXPECT_EQ(get("n") + get("e") + get("c") + get("") + get("N") + get(nullptr), " 12xtdefaultt");
  EXPECT_EQ(s.GetInt("n", 7) * 100 + s.GetInt("e", 7) * 10 + s.GetInt("none", 7), 1207);
  EXPECT_EQ(s.GetFloat("f") + s.GetFloat("none") + s.GetFloat("e", 10) + s.GetFloat("none", 20),
            32.5);
  EXPECT_TRUE(s.TestFieldExists("e") && !s.TestFieldExists("none"));

  s.SetString("none", "x");
  s.SetString("n", s.GetElement("f")->GetElementData());
  s.SetString("f", s.GetElement("f")->GetElementData() + 1);
  s.SetInt("e", -5);
  s.AddElement("g");
  s.SetFloat("g", 1.0 / 3);
  s.AddElement("l");
  s.SetString("l", std::string(1000, 'l').c_str());
  EXPECT_EQ(get("l"), std::string(259, 'l'));
  s.DeleteElement("l");
  EXPECT_EQ(Dump(s), "'t'[n'2.5'][e'-5'][f'.5'][e'2'][c[!--'c']'y'][n'3'][g'0.333333']");

  int count = 0;
  for (NamedElementIterator n(s, "n"); n.Current(); n.Next())
    n.Current()->Attributes().SetInt("index", count++);
  EXPECT_FALSE(ConstNamedElementIterator(s, "none").Next());
  s.DeleteElement(s.GetElement("e")->Name());
  EXPECT_EQ(Dump(s), "'t'[n{index=0}'2.5'][f'.5'][c[!--'c']'y'][n{index=1}'3'][g'0.333333']");

  // Deep copies, also of what is a part of the target.
  const LXMLElement copy(s);
  s.GetElement("n")->Attributes().DeleteField("index");
  loaded.document = LXMLDocument(loaded.document);
  LXMLElement& again = *loaded.document.GetElement("s");
  again = *again.GetElement("c");
  EXPECT_EQ(Dump(loaded.document), "[c[!--'c']'y']");
  EXPECT_EQ(Dump(copy), "'t'[n{index=0}'2.5'][f'.5'][c[!--'c']'y'][n{index=1}'3'][g'0.333333']");
}

/// Is to stop when it has been asked so often.
class StoppingProcess final : public LProcessInterface {
 public:
  explicit StoppingProcess(int checks) : checks_(checks) {}
  bool IsToStop() override { return ++count > checks_; }
  int ProcessWait(unsigned int) override { return 0; }
  int ProcessWaitSignal(LSignalObjectRef, unsigned int) override { return 0; }
  int ProcessWaitSignalObjectGroup(LSignalObjectGroup&, unsigned int) override { return 0; }
  int count = 0;

 private:
  int checks_;
};

TEST(XmlDocument, CanBeStopped) {
  char error[260] = "";
  const auto load = [&](const std::string& text, int checks, int expectedCount) {
    LXMLDocument document;
    StoppingProcess process(checks);
    LXMLLoaderTemplate<char> loader{text.c_str(), error, 0, 1, 1, &process};
    document.LoadData(loader);
    EXPECT_EQ(process.count, expectedCount);
    EXPECT_STREQ(error, "");
    return Dump(document);
  };
  const std::string text(5000, 'x');
  EXPECT_EQ(load(text, 100, 9), "'" + text + "'");
  EXPECT_EQ(load(text, 2, 3), "'" + text.substr(0, 3 * 512) + "'");
  EXPECT_EQ(load("<a><b>" + text + "</b></a>", 1, 2), "[a[b'" + text.substr(0, 1018) + "']]");
  EXPECT_EQ(load("<a>" + Repeat("<b/>", 1000) + "</a>", 100, 7), "[a" + Repeat("[b]", 1000) + "]");
}

TEST(XmlDocument, LoadsFiles) {
  char name[] = "/var/tmp/xmldocument-XXXXXX";
  const std::string folder = mkdtemp(name), path = folder + "/file.xml";
  const std::string longPath = folder + "/" + std::string(300, 'p');
  LXMLDocument document;
  document.AddElement("old");
  char error[260];
  const auto load = [&](const std::string& from, int checks) {
    StoppingProcess process(checks);
    const int result = document.LoadFromFile(process, from.c_str(), error);
    return std::to_string(result) + error + " " + Dump(document);
  };
  EXPECT_EQ(load(path, 9), "2File does not exist: " + path + " [old]");
  EXPECT_EQ(load(folder, 9), "2File does not exist: " + folder + " [old]");
  EXPECT_EQ(load(longPath, 9),
            "2" + ("File does not exist: " + longPath).substr(0, 259) + " [old]");
  std::ofstream(path, std::ios::binary) << std::string("\xFF\xFE<\0\xE9\0/\0>\0", 10);
  EXPECT_EQ(load(path, 0), "1 [old]");
  EXPECT_EQ(load(path, 1), "1 [old]");
  EXPECT_EQ(load(path, 2), "1 [\xC3\xA9]");
  EXPECT_EQ(load(path, 3), "0 [\xC3\xA9]");
  std::ofstream(path, std::ios::binary) << "\xEF\xBB\xBF<a>";
  EXPECT_EQ(load(path, 9), "0Ln 1, Col 4: " + kEof + " [a]");
  std::ofstream{path};
  EXPECT_EQ(load(path, 9), "0 ");
  std::filesystem::resize_file(path, std::uintmax_t{1} << 42);
  EXPECT_EQ(load(path, 9), "2Not enough memory available to load " + path + " ");
  std::filesystem::remove_all(folder);
}

/// On a stack of 128 KB.
TEST(XmlDocument, IsAsDeepAsMemoryAllows) {
  const auto run = [](void*) -> void* {
    const std::string text = Repeat("<a>", 20'000) + "x" + Repeat("</a>", 20'000);
    const Loaded loaded(text);
    EXPECT_STREQ(loaded.error, "");
    const LXMLDocument copy(loaded.document);
    EXPECT_TRUE(AsItIs(copy) == text);
    EXPECT_EQ(Formatted(copy, -1).size(), text.size() + 20'000);
    EXPECT_NE(Loaded(Repeat("<a>", 20'000)).error[0], 0);
    return nullptr;
  };
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, 128 << 10);
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, &attributes, run, nullptr), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

/// Parts of a tree that was loaded may outlive it.
TEST(XmlDocument, PartsStandAlone) {
  LXMLDocument target;
  {
    Loaded loaded("<a><b c='1'>x</b>" + Repeat("<d e='2'/>", 10'000) + "</a>");
    LXMLElement& a = *loaded.document.GetElement("a");
    LXMLElement* const b = a.GetElement("b");
    ASSERT_TRUE(a.Children().Detach(b));
    target.Children().Append(b);
    a.DeleteElement("d");
    EXPECT_EQ(Dump(loaded.document), "[a]");
  }
  EXPECT_EQ(Dump(target), "[b{c=1}'x']");
}

TEST(XmlDocument, AttributesMayBeLong) {
  const std::string value(2'000'000, 'v');
  const Loaded loaded("<a c=\"" + value + "\" b=\"1\" c=\"2\" d=\"" + value + "\"/>");
  EXPECT_TRUE(AsItIs(loaded.document) == "<a b=\"1\" c=\"2\" d=\"" + value + "\"/>");
  // They end everywhere in the memory that elements share.
  for (int length = 0; length < 1100; ++length) {
    const std::string text = "<a/><b c=\"" + Repeat("x", length) + "\"/>";
    EXPECT_EQ(AsItIs(Loaded(text).document), text);
  }
}

class Random {
 public:
  unsigned int operator()(unsigned int bound) {
    return static_cast<unsigned int>(engine_() % bound);
  }

  std::string Name() {
    return std::string(1, static_cast<char>('a' + (*this)(4))) + std::string((*this)(3) * 9, '-');
  }
  std::string Text(bool inAttribute) {
    static constexpr const char* kParts[] = {
        "x",  "&amp;", "&lt;", "'",    "&#233;", "\xE2\x82\xAC", "abcdefghijklmnopqrstuvw",
        "  ", ">",     "\n",   "\r\n", "\t"};
    std::string text;
    for (unsigned int i = (*this)(6); i > 0; --i)
      text += kParts[(*this)(inAttribute ? 9 : 12)];
    return text;
  }
  std::string Element(int depth) {
    const std::string name = Name();
    std::string text = "<" + name;
    for (char attribute = 'a'; attribute < 'h'; ++attribute) {
      if ((*this)(4) == 0)
        text += " " + std::string(1, static_cast<char>('a' + ('h' - attribute) * 5 % 8)) + "=" +
                "\"" + Text(true) + "\"";
    }
    if ((*this)(4) == 0) return text + "/>";
    text += ">" + Text(false);
    for (unsigned int i = depth > 0 ? (*this)(6) : 0; i > 0; --i) {
      const unsigned int kind = (*this)(10);
      text += kind == 0 ? "<!-- &c>]] -->" : kind == 1 ? "<![CDATA[ &]]]]>x" : Element(depth - 1);
      text += Text(false);
    }
    return text + "</" + name + (((*this)(9) == 0) ? " >" : ">");
  }

 private:
  std::mt19937 engine_{1};
};

std::string Dump(xmlNodePtr first) {
  std::string out;
  const auto text = [](const xmlChar* characters) {
    return characters ? std::string(reinterpret_cast<const char*>(characters)) : std::string();
  };
  for (xmlNodePtr node = first; node; node = node->next) {
    if (node->type == XML_TEXT_NODE) {
      out += "'" + text(node->content) + "'";
    } else if (node->type == XML_ELEMENT_NODE) {
      std::map<std::string, std::string> attributes;
      for (xmlAttrPtr attribute = node->properties; attribute; attribute = attribute->next)
        attributes[text(attribute->name)] =
            attribute->children ? text(attribute->children->content) : "";
      out += "[" + text(node->name);
      for (const auto& [key, value] : attributes)
        out += "{" + key + "=" + value + "}";
      out += Dump(node->children) + "]";
    } else {
      out += (node->type == XML_COMMENT_NODE ? "[!--'" : "[![CDATA['") + text(node->content) + "']";
    }
  }
  return out;
}

TEST(XmlDocument, AgreesWithAnotherReader) {
  Random random;
  for (int i = 0; i < 300; ++i) {
    const std::string text = random.Element(3);
    SCOPED_TRACE(text);
    const Loaded loaded(text);
    ASSERT_STREQ(loaded.error, "");
    const xmlDocPtr other = xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr,
                                          nullptr, XML_PARSE_NOENT);
    ASSERT_NE(other, nullptr);
    const std::string dump = Dump(other->children);
    xmlFreeDoc(other);
    ASSERT_EQ(Dump(loaded.document), dump);
    ASSERT_EQ(Dump(LXMLDocument(loaded.document)), dump);
    ASSERT_EQ(Dump(Loaded(AsItIs(Loaded(text).document)).document), dump);
    ASSERT_EQ(AsItIs(Loaded(text).document), AsItIs(loaded.document));  // packed or in tables
  }
}

/// Whatever others write: what was loaded is the same after it was saved and loaded again.
TEST(XmlDocument, LoadsFilesOfThisMachine) {
  int count = 0;
  const auto options = std::filesystem::directory_options::skip_permission_denied;
  std::error_code ignored;
  for (std::filesystem::recursive_directory_iterator file("/usr/share", options, ignored), end;
       file != end && count < 200; file.increment(ignored)) {
    if (file->path().extension() != ".xml" || !file->is_regular_file(ignored) ||
        file->file_size(ignored) > 100'000)
      continue;
    ++count;
    SCOPED_TRACE(file->path());
    LProcessInterfaceVoid process;
    LXMLDocument document;
    char error[260];
    ASSERT_EQ(document.LoadFromFile(process, file->path().c_str(), error), 0);
    if (*error) continue;
    const Loaded again(AsItIs(document));
    EXPECT_STREQ(again.error, "");
    EXPECT_EQ(Dump(again.document), Dump(document));
  }
  if (count == 0) GTEST_SKIP() << "no XML files in /usr/share";
}

/// Under a limit of the process, which another process takes on.
TEST(Memory, FreeHeapSizeKeepsToTheLimits) {
  EXPECT_GT(LMemoryGetFreeHeapSize(), 1U << 20);
  const auto limited = [] {
    const rlimit none = {0, RLIM_INFINITY};
    setrlimit(RLIMIT_DATA, &none);
    _exit(LMemoryGetFreeHeapSize() == 0 ? 0 : 1);
  };
  EXPECT_EXIT(limited(), testing::ExitedWithCode(0), "");
}

}  // namespace
