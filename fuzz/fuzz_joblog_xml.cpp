#include <libxml/parser.h>
#include <libxml/tree.h>

#include <memory>
#include <string>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "joblog/utf8.h"
#include "log/job/entry_text.h"
#include "log/job/output_length.h"
#include "strings/xml_escape.h"
#include "tests/support/xml_reference.h"

using namespace vtclass;
using namespace vtclass::log;
using fuzz::Check;

// Any texts, put together as a job log is, make a document that an independent XML parser reads;
// and what it reads in each entry is the text, less what no document can hold.
namespace {

constexpr WideView kTags[] = {
    VTCLASS_WIDE("<job_name>"),
    VTCLASS_WIDE("<OperationErrors Type=\"comm_failure\">"),
    VTCLASS_WIDE("<SelNotExist sel_type=\"arc_sel_fs\">"),
    VTCLASS_WIDE("<recommandation Type=\"SQL objects warning\">"),
};

void Print(WideText& log, WideView text, bool escape) {
  WideText copy(text);
  copy.resize(UnbracketUtilityPartition(copy.data(), copy.size()));
  const std::size_t capacity = OutputCapacityFor(copy, escape);
  const auto out = fuzz::Units(capacity);
  std::size_t consumed = 0;
  const std::size_t written = strings::EscapeInto(copy, escape, out.get(), capacity, &consumed);
  Check(consumed == copy.size());
  log.append(out.get(), written);
}

void PrintEntry(WideText& log, WideView tag, std::uint32_t code, WideView text) {
  WideText closing;
  Print(log, tag, false);
  Print(log, UmiPrefix(code).Text(), false);
  Print(log, VTCLASS_WIDE(" - "), false);
  Print(log, text, true);
  Check(MakeClosingTag(tag, closing));
  Print(log, closing, false);
}

// What a parser makes of the text: each line feed has a carriage return before it, and whatever
// ends a line is read as one line feed.
std::string Expected(std::uint32_t code, WideView text) {
  WideText copy(text);
  const std::size_t name = copy.find(VTCLASS_WIDE("<Utility Partition>"));
  if (name != WideText::npos) copy.replace(name, 19, VTCLASS_WIDE("Utility Partition"));
  WideText read;
  for (std::size_t at = 0; at < copy.size(); ++at) {
    if (!strings::reference::IsXmlCharacter(copy, at)) continue;
    read += copy[at] == '\r' ? WideUnit{'\n'} : copy[at];
  }
  std::string expected;
  if (code & 0x20000000) {
    expected = "Q-79-" + std::to_string(code >> 16) + "-" + std::to_string(code & 0xFFFF);
  }
  return expected + " - " + vtclass::joblog::Utf8(read);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const std::size_t choice = input.Number();
  const auto code = static_cast<std::uint32_t>(input.Number() << 16 | choice);
  WideView rest = input.Text();
  WideText log = VTCLASS_WIDE("\xFEFF");
  Print(log, VTCLASS_WIDE("<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n<joblog>"), false);
  std::vector<std::string> expected;
  // A formatted text ends at its first zero.
  for (std::size_t n = choice; !rest.empty(); ++n) {
    const WideView text = rest.substr(0, rest.find(WideUnit{0}));
    PrintEntry(log, kTags[n % std::size(kTags)], code, text);
    expected.push_back(Expected(code, text));
    rest.remove_prefix(std::min(rest.size(), text.size() + 1));
  }
  Print(log, VTCLASS_WIDE("</joblog>"), false);

  const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
      xmlReadMemory(reinterpret_cast<const char*>(log.data()),
                    static_cast<int>(log.size() * sizeof(WideUnit)), "job.log", nullptr,
                    XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_HUGE),
      &xmlFreeDoc);
  Check(document != nullptr);
  std::size_t entries = 0;
  for (xmlNode* node = xmlDocGetRootElement(document.get())->children; node; node = node->next) {
    const std::unique_ptr<xmlChar, decltype(xmlFree)> content(xmlNodeGetContent(node), xmlFree);
    Check(entries < expected.size());
    Check(expected[entries++] == reinterpret_cast<const char*>(content.get()));
  }
  Check(entries == expected.size());
  return 0;
}
