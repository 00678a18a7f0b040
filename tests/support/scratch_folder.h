#ifndef VTCLASS_TESTS_SUPPORT_SCRATCH_FOLDER_H
#define VTCLASS_TESTS_SUPPORT_SCRATCH_FOLDER_H

#include <string>

namespace vtclass::test {

/* An empty folder of its own for one scope, deleted with its contents; leftovers of crashed runs
 * are swept first. */
class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::wstring& Path() const { return path; }
  /* The path of an entry of the folder. */
  std::wstring operator/(const std::wstring& name) const { return path + L"\\" + name; }

 private:
  std::wstring path;
};

/* The bytes of a file (empty when it cannot be read), and a file made of bytes. */
std::string FileBytes(const std::wstring& path);
void MakeFile(const std::wstring& path, const std::string& bytes);

}  // namespace vtclass::test

#endif
