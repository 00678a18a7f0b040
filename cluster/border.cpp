#include "platform/border.h"

#include "cluster/answer_or.h"
#include "vtclass/cluster.h"

// The exported functions behind those that fill a text of the caller's. Each asks the function of
// its name for texts of this side's, and hands them over.
namespace vtclass::border {

namespace {

// The answer of `ask(text)`, its text and its last error; no, an empty text and
// ERROR_NOT_ENOUGH_MEMORY when the owner has no memory.
template <typename Ask>
bool Answer(const WideSink& out, Ask ask) noexcept {
  wcstring text;
  const bool answer = ask(text);
  const DWORD error = ::GetLastError();
  const bool whole = out.Assign(text);
  if (!whole) out.Resize(0);
  ::SetLastError(whole ? error : ERROR_NOT_ENOUGH_MEMORY);
  return whole && answer;
}

using Names = bool (*)(std::wstring& server, std::wstring& activeNode, std::wstring& instance,
                       std::wstring& database, bool& isLocal);

void Clear(const DatabaseNames& out) noexcept {
  for (const WideSink* text : {&out.server, &out.activeNode, &out.instance, &out.database}) {
    text->Resize(0);
  }
  out.isLocal = false;
}

bool Answer(const DatabaseNames& out, Names ask) noexcept {
  std::wstring server;
  std::wstring activeNode;
  std::wstring instance;
  std::wstring database;
  Clear(out);
  const bool found = ask(server, activeNode, instance, database, out.isLocal);
  const DWORD error = ::GetLastError();
  const bool whole = out.server.Assign(server) && out.activeNode.Assign(activeNode) &&
                     out.instance.Assign(instance) && out.database.Assign(database);
  if (!whole) Clear(out);
  ::SetLastError(whole ? error : ERROR_NOT_ENOUGH_MEMORY);
  return whole && found;
}

}  // namespace

bool GetVtActiveNodeName(const wchar_t* name, const WideSink& out) noexcept {
  return Answer(out, [=](wcstring& text) { return vtclass::GetVtActiveNodeName(name, text); });
}

bool GetVtVirtualServerName(const wchar_t* name, const WideSink& out) noexcept {
  return Answer(out, [=](wcstring& text) { return vtclass::GetVtVirtualServerName(name, text); });
}

bool ClusterVirtualNameToNodeName(const wcstring& name, const WideSink& out) noexcept {
  return Answer(out,
                [&](wcstring& text) { return vtclass::ClusterVirtualNameToNodeName(name, text); });
}

clusAppState ServerIsRunningSQL2KInstance(const wchar_t* server, const wchar_t* instance) noexcept {
  return cluster::AnswerOr(clusAppNoAnswer, [=](unsigned long& error) {
    const clusAppState state = vtclass::ServerIsRunningSQL2KInstance(server, wcstring(instance));
    error = ::GetLastError();
    return state;
  });
}

bool GetOdbcConnectionString(const WideSink& out, const std::wstring& server,
                             const std::wstring& instance, const std::wstring& database,
                             const wchar_t* application, bool usePhysicalName) noexcept {
  return Answer(out, [&](wcstring& text) {
    return vtclass::GetOdbcConnectionString(text, server, instance, database, application,
                                            usePhysicalName);
  });
}

bool GetDatabaseServerNames(const DatabaseNames& out) noexcept {
  return Answer(out, &vtclass::GetDatabaseServerNames);
}

bool GetVTDatabaseServerNames(const DatabaseNames& out) noexcept {
  return Answer(out, &vtclass::GetVTDatabaseServerNames);
}

bool GetCATDatabaseServerNames(const DatabaseNames& out) noexcept {
  return Answer(out, &vtclass::GetCATDatabaseServerNames);
}

}  // namespace vtclass::border
