// A resource-only DLL runs no code and needs no run-time library. The linkers of the GNU family
// cannot leave the entry point out, so it is this one.
extern "C" int __stdcall DllMainCRTStartup(void* /*module*/, unsigned long /*reason*/,
                                           void* /*reserved*/) {
  return 1;
}
