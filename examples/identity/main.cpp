#include <vtclass/net.h>

#include <cstdio>
#include <cstdlib>

// Is this server this machine? identity NAME [MILLISECONDS], where NAME is a name, an address or a
// UNC path. Exit code 0 yes, 1 no, 2 it cannot be told.
int main(int argc, char** argv) {
  if (argc < 2) {
    std::printf("identity NAME [MILLISECONDS]\n");
    return 2;
  }
  const wcstring name{cstring(argv[1])};
  const int limit = argc > 2 ? std::atoi(argv[2]) : 2000;  // 0 would be the product's setting

  // DNS is asked for the name as it stands, so a share must not be in it.
  wcstring server, share;
  if (!vtclass::SplitUncPath(name, server, share)) server = name;
  bool isMe = false;
  const unsigned long status = vtclass::IsThisMeEx(server, &isMe, true, limit);
  if (status != 0) {
    std::printf("cannot be told: %lu\n", status);  // 10060: no answer in time
    return 2;
  }
  std::printf("%s\n", isMe ? "this machine" : "another machine");
  return isMe ? 0 : 1;
}
