// SPDX-License-Identifier: MIT
#include "foundation/text/stringformat.h"

#include <cstdio>
#include <cstring>
#include <utility>

#include "foundation/text/conversiontext.h"
#include "foundation/text/formatoutput.h"
#include "foundation/text/formatspecification.h"

namespace {

// The least capacity of a string that is formatted into.
constexpr std::uint64_t kLeastCapacity = 260;

static_assert(sizeof(void*) == 8 && sizeof(long) == 8,
              "every argument slot of an integer or a pointer has 64 bits");

// Arguments that can be handed on by reference on every platform, which a va_list cannot.
struct Arguments {
  template <typename Type>
  Type Next() {
    return va_arg(list, Type);
  }

  va_list list;
};

// The text of the string that is formatted into: `%s` arguments may be part of it. They point to
// where it was at the call; growing moves it, but never cuts it. Of a string whose text is replaced
// it is what has been overwritten by the time.
class OwnText {
 public:
  // Before the string grows for the first time.
  explicit OwnText(const LStringLongTemplate<char>& string)
      : string_(string),
        address_(reinterpret_cast<std::uintptr_t>(string.Buffer())),
        length_(string.Length()) {}

  [[nodiscard]] bool Contains(const char* text) const { return Offset(text) <= length_; }

  // The old terminator may be gone: the text ends where it did at the call.
  template <typename Output>
  void AddTo(Output& output, const char* text) const {
    for (std::uint64_t i = Offset(text); i < length_ && string_.Buffer()[i] != 0; ++i)
      output.AddChar(string_.Buffer()[i]);
  }

 private:
  [[nodiscard]] std::uint64_t Offset(const char* text) const {
    return reinterpret_cast<std::uintptr_t>(text) - address_;
  }

  const LStringLongTemplate<char>& string_;
  std::uintptr_t address_;
  std::uint64_t length_;
};

// The first '%' or the end.
const char* FindPercent(const char* text) {
#ifdef _GNU_SOURCE
  return strchrnul(text, '%');
#else
  return text + std::strcspn(text, "%");
#endif
}

// The same between two conversions, where most texts are over before a call of the above were.
const char* FindNextPercent(const char* text) {
  for (const char* const near = text + 4; text != near; ++text)
    if (*text == '%' || *text == 0) return text;
  return FindPercent(text);
}

// Any conversion. Returns where the format goes on; gives the text, or for %s the argument.
[[gnu::noinline]] const char* Convert(const char* format, Arguments& arguments,
                                      ConversionText& text, const char** argument) {
  FormatSpecification specification;
  format = specification.Read(format);
  switch (specification.conversion) {
    case 0:
      break;
    case '%':
      *argument = "%";
      break;
    case 's':
      // What stands before an s is deliberately without effect: no padding, no cutting.
      *argument = arguments.Next<const char*>();
      break;
    case 'e':
    case 'f':
    case 'g':
      if (specification.IsLongDouble())
        text.SetLongDouble(specification, arguments.Next<long double>());
      else
        text.SetDouble(specification, arguments.Next<double>());
      break;
    default:
      text.SetSlot(specification, arguments.Next<std::uint64_t>());
  }
  return format;
}

template <typename Output>
[[gnu::always_inline]] inline void AddString(Output& output, const char* text, const OwnText* own) {
  if (!text) return;
  if (own && own->Contains(text)) return own->AddTo(output, text);
  output.AddText(text, std::strlen(text));
}

// The most usual integers: %d, %u and %x, with l, ll or z, with a width of three digits. Null when
// it is something else, or in need of more room than there is.
template <typename Output>
[[gnu::always_inline]] inline const char* AddInteger(Output& output, const char* format,
                                                     Arguments& arguments) {
  const bool zeros = *format == '0';
  unsigned int width = 0;
  for (int i = 0; i < 3 && *format >= '0' && *format <= '9'; ++i, ++format)
    width = width * 10 + static_cast<unsigned int>(*format - '0');
  const bool isLong = *format == 'l' || *format == 'z';
  if (isLong) ++format;
  if (format[0] == 'l' && format[-1] == 'l') ++format;
  if ((*format != 'd' && *format != 'u' && *format != 'x') || width > ConversionText::Most ||
      !output.HasRoomFor(width))
    return nullptr;
  const auto slot = arguments.Next<std::uint64_t>();
  if (*format == 'd') {
    const std::int64_t value =
        isLong ? static_cast<std::int64_t>(slot) : static_cast<std::int32_t>(slot);
    const auto bits = static_cast<std::uint64_t>(value);
    output.AddDecimal(value < 0 ? 0 - bits : bits, value < 0, width, zeros);
  } else {
    const std::uint64_t value = isLong ? slot : static_cast<std::uint32_t>(slot);
    if (*format == 'u')
      output.AddDecimal(value, false, width, zeros);
    else
      output.AddHexadecimal(value, width, zeros);
  }
  return format + 1;
}

// `format` is behind a '%'; returns where it goes on. Inlined for the sake of the output.
template <typename Output>
[[gnu::always_inline]] inline const char* AddConversion(Output& output, const char* format,
                                                        Arguments& arguments, const OwnText* own) {
  if (*format == 's') {
    AddString(output, arguments.Next<const char*>(), own);
    return format + 1;
  }
  if (const char* const next = AddInteger(output, format, arguments)) return next;
  ConversionText text;
  const char* argument = nullptr;
  format = Convert(format, arguments, text, &argument);
  AddString(output, argument, own);
  output.AddText(text.Text(), text.Length());
  return format;
}

template <typename Writer>
std::uint64_t Format(Writer& writer, const char* format, Arguments& arguments,
                     const OwnText* own = nullptr) {
  if (!format) return 0;
  FormatOutput<Writer> output(writer);
  const char* end = *format == '%' ? format : FindPercent(format);
  while (true) {
    output.AddText(format, static_cast<std::uint64_t>(end - format));
    if (*end == 0) break;
    format = AddConversion(output, end + 1, arguments, own);
    end = FindNextPercent(format);
  }
  return output.Finish();
}

// Terminates the string in the end, also when there is no memory for the text.
template <typename Writer>
class Termination {
 public:
  explicit Termination(Writer& writer) : writer_(writer) {}
  ~Termination() { writer_.Terminate(); }
  Termination(const Termination&) = delete;
  Termination& operator=(const Termination&) = delete;

 private:
  Writer& writer_;
};

template <typename Writer>
std::uint64_t FormatTerminated(Writer& writer, const char* format, Arguments& arguments,
                               const OwnText* own) {
  const Termination termination(writer);
  return Format(writer, format, arguments, own);
}

// Into a new buffer. The old one lives on as long as arguments may be part of it.
[[gnu::noinline]] std::uint64_t FormatAnew(LStringLongTemplate<char>& string, const char* format,
                                           Arguments& arguments) {
  LStringLongTemplate<char> other;
  other.GrowToSize(kLeastCapacity);
  std::swap(string, other);
  LStringLongTemplateWriter<char> writer(string);
  return FormatTerminated(writer, format, arguments, nullptr);
}

std::uint64_t FormatString(LStringLongTemplate<char>& string, const char* format,
                           Arguments& arguments) {
  if (string.Capacity() < kLeastCapacity) return FormatAnew(string, format, arguments);
  const OwnText own(string);
  LStringLongTemplateWriter<char> writer(string);
  writer.Restart();
  return FormatTerminated(writer, format, arguments, &own);
}

std::uint64_t FormatAppended(LStringLongTemplate<char>& string, const char* format,
                             Arguments& arguments) {
  const OwnText own(string);
  string.GrowToSize(kLeastCapacity);
  LStringLongTemplateAppender<char> writer(string);
  return FormatTerminated(writer, format, arguments, &own);
}

std::uint64_t FormatFixed(char* buffer, std::uint64_t limit, const char* format,
                          Arguments& arguments) {
  LFixedLengthStringWriterTemplate<char> writer(buffer, limit);
  const std::uint64_t length = Format(writer, format, arguments);
  buffer[writer.Length()] = 0;
  return length;
}

}  // namespace

template <typename Writer, typename Char>
std::uint64_t tplprintf(Writer& writer, const Char* format, va_list arguments) {
  Arguments copy;
  va_copy(copy.list, arguments);
  const std::uint64_t length = Format(writer, format, copy);
  va_end(copy.list);
  return length;
}

template ZORVEX_API std::uint64_t tplprintf(LStringLongTemplateWriter<char>&, const char*, va_list);
template ZORVEX_API std::uint64_t tplprintf(LStringLongTemplateAppender<char>&, const char*,
                                            va_list);
template ZORVEX_API std::uint64_t tplprintf(LFixedLengthStringWriterTemplate<char>&, const char*,
                                            va_list);

std::uint64_t sprintf(LStringLongTemplate<char>& string, const char* format, ...) {
  Arguments arguments;
  va_start(arguments.list, format);
  const std::uint64_t length = FormatString(string, format, arguments);
  va_end(arguments.list);
  return length;
}

std::uint64_t tsprintfappend(LStringLongTemplate<char>& string, const char* format, ...) {
  Arguments arguments;
  va_start(arguments.list, format);
  const std::uint64_t length = FormatAppended(string, format, arguments);
  va_end(arguments.list);
  return length;
}

template <typename Char>
void LStringLongTemplate<Char>::tsprintfappend(const char* format, ...) {
  Arguments arguments;
  va_start(arguments.list, format);
  FormatAppended(*this, format, arguments);
  va_end(arguments.list);
}

template ZORVEX_API void LStringLongTemplate<char>::tsprintfappend(const char* format, ...);

std::uint64_t tplsnprintf(char* buffer, std::size_t size, const char* format, ...) {
  Arguments arguments;
  va_start(arguments.list, format);
  // A size of 0 wraps to no limit at all, which is deliberate.
  const std::uint64_t length = FormatFixed(buffer, std::uint64_t{size} - 1, format, arguments);
  va_end(arguments.list);
  return length;
}

std::uint64_t sprintf(LFixedLengthStringWriterTemplate<char>& writer, const char* format, ...) {
  Arguments arguments;
  va_start(arguments.list, format);
  const std::uint64_t length = Format(writer, format, arguments);
  va_end(arguments.list);
  return length;
}

int tprintf(const char* format, ...) {
  va_list list;
  va_start(list, format);
  const int length = std::vprintf(format, list);
  va_end(list);
  return length;
}
