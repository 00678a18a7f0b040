#include <vtclass/cluster.h>
#include <vtclass/net.h>

#include <cstdio>

// Where the product runs in this machine's cluster, and whether SQL Server runs here.

// What a "no" leaves in the thread's last error: 0, or why there is no answer.
bool CannotTell(const char* question) {
  const unsigned long status = ::GetLastError();
  if (status != 0) std::printf("%s: cannot be told (%lu)\n", question, status);
  return status != 0;
}

int main() {
  wcstring text;
  if (vtclass::IsVtClustered()) {
    vtclass::GetVtVirtualServerName(nullptr, text);
    std::printf("virtual server %ls", text.c_str());
    vtclass::GetVtActiveNodeName(nullptr, text);
    std::printf(", active on %ls\n", text.c_str());
  } else if (CannotTell("cluster")) {
    return 2;
  } else {
    std::printf("the product is in no cluster of this machine\n");
  }

  if (!vtclass::GetComputerNameInString(text)) return 2;
  bool isClustered = false;
  if (vtclass::ServerIsRunningSQL(text.c_str(), &isClustered)) {
    std::printf("SQL Server runs here%s\n", isClustered ? ", as a part of the cluster" : "");
  } else if (CannotTell("SQL Server")) {
    return 2;
  } else {
    std::printf("SQL Server does not run here\n");
  }
  return 0;
}
