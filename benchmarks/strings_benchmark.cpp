#include <vtclass/win32.h>

#include <benchmark/benchmark.h>
#include <vtclass/strings.h>

#include <cstring>
#include <memory>
#include <random>
#include <rapidxml/rapidxml.hpp>
#include <rapidxml/rapidxml_print.hpp>
#include <string>
#include <vector>

#include "strings/xml_escape.h"
#include "strings/xml_filter.h"
#include "tests/support/xml_reference.h"

namespace {

namespace reference = vtclass::strings::reference;
using vtclass::WideView;

constexpr std::size_t kLength = 2048;
constexpr std::size_t kRoom = kLength * 6 + 16;

std::wstring Repeated(const std::wstring& sample) {
  std::wstring text;
  while (text.size() < kLength) text += sample;
  text.resize(kLength);
  return text;
}

std::wstring Latin() {
  return Repeated(L"Backing up C:\\Users\\Public\\Documents\\report 2024.docx\n");
}
std::wstring Japanese() {
  return Repeated(L"\u30D0\u30C3\u30AF\u30A2\u30C3\u30D7\u958B\u59CB\u8AAD");
}

// `percent` of the units are characters that must be escaped.
std::wstring WithSpecials(unsigned percent) {
  std::mt19937 random(4711);
  std::wstring text(kLength, 0);
  for (wchar_t& unit : text) {
    unit = random() % 100 < percent ? L"&<>\"'"[random() % 5]
                                    : static_cast<wchar_t>(L'a' + random() % 26);
  }
  return text;
}

// Clean text: the filter only reads it. -----------------------------------------------------------

void OursClean(benchmark::State& state, const std::wstring& source) {
  wcstring text(source);
  for (auto _ : state) benchmark::DoNotOptimize(makeXmlStrBufferValid(text).data());
}

void ScanClean(benchmark::State& state, const vtclass::strings::UnitScan& scan) {
  const std::wstring text = Latin();
  for (auto _ : state) benchmark::DoNotOptimize(vtclass::strings::FilteredPrefix(text, scan));
}

void Memcpy(benchmark::State& state, const std::wstring& source) {
  const std::unique_ptr<wchar_t[]> out(new wchar_t[kRoom]);
  for (auto _ : state) {
    std::memcpy(out.get(), source.data(), source.size() * sizeof(wchar_t));
    benchmark::DoNotOptimize(out.get());
    benchmark::ClobberMemory();
  }
}

// Text that changes: each round begins with a fresh copy in a buffer.
// ------------------------------

void OursBuffer(benchmark::State& state, const std::wstring& source) {
  const std::unique_ptr<wchar_t[]> buffer(new wchar_t[kRoom]);
  for (auto _ : state) {
    std::memcpy(buffer.get(), source.c_str(), (source.size() + 1) * sizeof(wchar_t));
    benchmark::DoNotOptimize(makeXmlStrBufferValid(buffer.get(), kRoom));
    benchmark::ClobberMemory();
  }
}

void PlainLoop(benchmark::State& state, const std::wstring& source) {
  const std::unique_ptr<wchar_t[]> out(new wchar_t[kRoom]);
  for (auto _ : state) {
    benchmark::DoNotOptimize(reference::Filter(source, out.get(), kRoom));
    benchmark::ClobberMemory();
  }
}

void RapidXml(benchmark::State& state, const std::wstring& source) {
  const std::unique_ptr<wchar_t[]> out(new wchar_t[kRoom]);
  const wchar_t* const begin = source.data();
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        rapidxml::internal::copy_and_expand_chars(begin, begin + source.size(), L'\0', out.get()));
    benchmark::ClobberMemory();
  }
}

// Lines of the job log, each another one: no processor knows their branches by heart. -------------

const std::vector<std::wstring>& Lines() {
  static const std::vector<std::wstring> lines = [] {
    std::mt19937 random(815);
    std::vector<std::wstring> made(256, std::wstring(100, 0));
    for (std::wstring& line : made) {
      for (wchar_t& unit : line) {
        unit = random() % 25 == 0 ? L"&<>\"'"[random() % 5]
                                  : static_cast<wchar_t>(L'a' + random() % 26);
      }
      line.back() = L'\n';
    }
    return made;
  }();
  return lines;
}

template <typename Write>
void WriteLines(benchmark::State& state, Write write) {
  wchar_t out[1024];
  for (auto _ : state) {
    for (const std::wstring& line : Lines()) {
      benchmark::DoNotOptimize(write(line, out));
      benchmark::ClobberMemory();
    }
  }
}

void OursLines(benchmark::State& state, const vtclass::strings::UnitScan& scan) {
  WriteLines(state, [&scan](const std::wstring& line, wchar_t* out) {
    std::size_t consumed = 0;
    return out + vtclass::strings::EscapeInto(line, true, out, 1024, &consumed, scan);
  });
}

void PlainLines(benchmark::State& state) {
  WriteLines(state, [](const std::wstring& line, wchar_t* out) {
    for (const wchar_t unit : line) {
      const WideView entity = unit == L'\n' ? WideView(L"\r\n") : reference::Entity(unit);
      if (entity.empty()) *out++ = unit;
      for (const wchar_t part : entity) *out++ = part;
    }
    return out;
  });
}

void RapidXmlLines(benchmark::State& state) {
  WriteLines(state, [](const std::wstring& line, wchar_t* out) {
    const wchar_t* const begin = line.data();
    return rapidxml::internal::copy_and_expand_chars(begin, begin + line.size(), L'\0', out);
  });
}

// Conversions of 100 characters.
// --------------------------------------------------------------------

const std::string& Ascii() {
  static const std::string text = std::string(90, 'x') + "C:\\a b.txt";
  return text;
}

void OursWiden(benchmark::State& state, cstring::codePage page) {
  wcstring out;
  for (auto _ : state) {
    benchmark::DoNotOptimize(out.assign(Ascii().data(), Ascii().size(), page).data());
  }
}

void TwoCallsWiden(benchmark::State& state, cstring::codePage page) {
  std::wstring out;
  const int length = static_cast<int>(Ascii().size());
  for (auto _ : state) {
    const int needed = ::MultiByteToWideChar(page, 0, Ascii().data(), length, nullptr, 0);
    const std::unique_ptr<wchar_t[]> scratch(new wchar_t[static_cast<std::size_t>(needed) + 1]);
    const int made =
        ::MultiByteToWideChar(page, 0, Ascii().data(), length, scratch.get(), needed + 1);
    benchmark::DoNotOptimize(out.assign(scratch.get(), static_cast<std::size_t>(made)).data());
  }
}

void OursNarrow(benchmark::State& state, cstring::codePage page) {
  const std::wstring text(Ascii().begin(), Ascii().end());
  cstring out(page);
  for (auto _ : state) benchmark::DoNotOptimize(out.assign(text.data(), text.size()).data());
}

void TwoCallsNarrow(benchmark::State& state, cstring::codePage page) {
  const std::wstring text(Ascii().begin(), Ascii().end());
  std::string out;
  const int length = static_cast<int>(text.size());
  for (auto _ : state) {
    const int needed =
        ::WideCharToMultiByte(page, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    const std::unique_ptr<char[]> scratch(new char[static_cast<std::size_t>(needed) + 1]);
    const int made = ::WideCharToMultiByte(page, 0, text.data(), length, scratch.get(), needed + 1,
                                           nullptr, nullptr);
    benchmark::DoNotOptimize(out.assign(scratch.get(), static_cast<std::size_t>(made)).data());
  }
}

// Letters.
// -------------------------------------------------------------------------------------------

void OursCompare(benchmark::State& state) {
  for (auto _ : state) {
    for (wchar_t letter = L'a'; letter <= L'z'; ++letter) {
      benchmark::DoNotOptimize(comparei(letter, L'Q'));
    }
  }
}

void PlatformCompare(benchmark::State& state) {
  const wchar_t other = L'Q';
  for (auto _ : state) {
    for (wchar_t letter = L'a'; letter <= L'z'; ++letter) {
      benchmark::DoNotOptimize(::CompareStringW(
          LOCALE_SYSTEM_DEFAULT, NORM_IGNORECASE | SORT_STRINGSORT, &letter, 1, &other, 1));
    }
  }
}

void Register(const std::string& name, void (*run)(benchmark::State&, const std::wstring&),
              const std::wstring& text) {
  benchmark::RegisterBenchmark(("Strings/" + name).c_str(), run, text);
}

void RegisterText(const std::string& name, const std::wstring& text, bool isClean) {
  Register(name + "/ours", isClean ? &OursClean : &OursBuffer, text);
  Register(name + "/limit_memcpy", &Memcpy, text);
  Register(name + "/plain", &PlainLoop, text);
  Register(name + "/peer_rapidxml", &RapidXml, text);
}

void RegisterAll() {
  using vtclass::strings::kSse2Scan;
  RegisterText("FilterClean2048", Latin(), true);
  RegisterText("FilterJapanese2048", Japanese(), true);
  RegisterText("FilterSpecials1", WithSpecials(1), false);
  RegisterText("FilterSpecials30", WithSpecials(30), false);
  benchmark::RegisterBenchmark("Strings/FilterCleanSse2/ours", &ScanClean, kSse2Scan);
  Register("FilterCleanSse2/limit_memcpy", &Memcpy, Latin());
  benchmark::RegisterBenchmark("Strings/Escape256Lines/ours", &OursLines,
                               vtclass::strings::BestScan());
  benchmark::RegisterBenchmark("Strings/Escape256Lines/twin_sse2", &OursLines, kSse2Scan);
  benchmark::RegisterBenchmark("Strings/Escape256Lines/plain", &PlainLines);
  benchmark::RegisterBenchmark("Strings/Escape256Lines/peer_rapidxml", &RapidXmlLines);
  const struct {
    const char* name;
    cstring::codePage page;
  } pages[] = {{"Acp", cstring::acp}, {"Utf8", cstring::utf8}};
  for (const auto& row : pages) {
    const std::string widen = std::string("Strings/Widen100") + row.name;
    benchmark::RegisterBenchmark((widen + "/ours").c_str(), &OursWiden, row.page);
    benchmark::RegisterBenchmark((widen + "/plain").c_str(), &TwoCallsWiden, row.page);
    const std::string narrow = std::string("Strings/Narrow100") + row.name;
    benchmark::RegisterBenchmark((narrow + "/ours").c_str(), &OursNarrow, row.page);
    benchmark::RegisterBenchmark((narrow + "/plain").c_str(), &TwoCallsNarrow, row.page);
  }
  benchmark::RegisterBenchmark("Strings/CompareLetters/ours", &OursCompare);
  benchmark::RegisterBenchmark("Strings/CompareLetters/limit_comparestring", &PlatformCompare);
}

}  // namespace

int main(int argc, char** argv) {
  RegisterAll();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
