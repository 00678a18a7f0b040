#include "tools/vtctl/volumes/volume_text.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/number_text.h"

namespace vtctl {
namespace {

constexpr uint64_t kGigabyte = 1ULL << 30;

Volume Disk() {
  Volume disk;
  disk.name = L"\\\\?\\Volume{1}\\";
  disk.paths = {L"C:\\", L"D:\\mnt\\"};
  disk.type = Volume::fixed;
  disk.fileSystem = L"NTFS";
  disk.label = L"System";
  disk.totalSpace = 100 * kGigabyte;
  disk.occupiedSpace = 31 * kGigabyte;
  disk.freeSpace = disk.freeSpaceToUser = 69 * kGigabyte;
  disk.clusterSize = 65536;
  disk.sectorSize = 512;
  disk.isWritable = true;
  return disk;
}

Volume EmptyDrive(unsigned long error) {
  Volume drive;
  drive.name = L"\\\\?\\Volume{2}\\";
  drive.paths = {L"E:\\"};
  drive.type = Volume::cdRom;
  drive.error = error;
  return drive;
}

TEST(VolumeText, Block_TellsWhatPeopleAsk) {
  EXPECT_EQ(Block(Disk(), 80, false),
            L"C:\\  \"System\"\n"
            L"    also D:\\mnt\\\n"
            L"    [#######------------------]  31% used, 69.0 GB free of 100.0 GB\n"
            L"    NTFS, fixed, writable, not cluster shared, 64 KB clusters, 512 B sectors\n"
            L"    \\\\?\\Volume{1}\\\n");
  Volume other = Disk();
  other.paths.clear();
  other.label = L"a\nb";
  other.occupiedSpace = 95 * kGigabyte;
  other.freeSpaceToUser = 5;
  other.isClusterShared = true;
  other.isWritable = false;
  other.writeError = 5;
  const std::wstring text = Block(other, 80, true);
  EXPECT_TRUE(
      text.starts_with(L"(no drive letter, no folder)  \"a\xFFFD"
                       L"b\"\n"))
      << ToUtf8(text);
  for (const wchar_t* const part :
       {L"\x1b[33m[####", L"95%\x1b[0m used,", L"5 B of it for this account", L"not writable: ",
        L"(5), shared by the cluster"}) {
    EXPECT_NE(text.find(part), std::wstring::npos) << ToUtf8(text);
  }
  other = Disk();
  other.isWritable.reset();
  EXPECT_NE(Block(other, 80, false).find(L"writing not tested"), std::wstring::npos);
}

TEST(VolumeText, Block_TellsWhyAVolumeCannotBeReached) {
  EXPECT_EQ(Block(EmptyDrive(21), 80, false),
            L"E:\\\n"
            L"    cannot be reached: no medium is in the drive (21)\n"
            L"    CD-ROM, not cluster shared\n"
            L"    \\\\?\\Volume{2}\\\n");
  EXPECT_NE(Block(EmptyDrive(1005), 80, false).find(L"no file system that"), std::wstring::npos);
  EXPECT_NE(Line(EmptyDrive(3)).find(L"(3)"), std::wstring::npos);
  EXPECT_EQ(CountText({Disk()}), L"1 volume");
  EXPECT_EQ(CountText({Disk(), EmptyDrive(21)}), L"2 volumes, 1 of them cannot be reached");
}

TEST(VolumeText, Block_KeepsToTheColumns) {
  for (size_t columns = 34; columns <= 120; ++columns) {
    std::wistringstream lines(Block(Disk(), columns, false));
    for (std::wstring line; std::getline(lines, line);) {
      EXPECT_LT(ColumnsOf(line), columns) << ToUtf8(line);
    }
  }
}

TEST(VolumeText, Csv_IsALineAVolume) {
  Volume disk = Disk();
  disk.label = L"a,\"b\"\nc";
  std::wistringstream lines(Csv({disk, EmptyDrive(21)}));
  std::wstring line;
  std::getline(lines, line);
  EXPECT_TRUE(line.starts_with(L"name,paths,type,fileSystem,label,totalSpace,")) << ToUtf8(line);
  EXPECT_TRUE(
      line.ends_with(L"writable,writeError,writeStatus,clusterShared,reached,error,status\r"));
  std::getline(lines, line);
  EXPECT_EQ(line,
            L"\\\\?\\Volume{1}\\,C:\\|D:\\mnt\\,fixed,NTFS,\"a,\"\"b\"\"\xFFFD"
            L"c\",107374182400,"
            L"74088185856,74088185856,33285996544,65536,512,true,,,false,true,,\r");
  std::getline(lines, line);
  EXPECT_EQ(line,
            L"\\\\?\\Volume{2}\\,E:\\,cdrom,,,,,,,,,,,,false,false,"
            L"no medium is in the drive (21),21\r");
}

// What is not known is null, and not 0.
TEST(VolumeText, ToJson_HasTheSameMembersInEachCase) {
  const Json disk = ToJson(Disk());
  const Json drive = ToJson(EmptyDrive(21));
  ASSERT_EQ(disk.size(), drive.size());
  EXPECT_EQ(disk["freeSpace"], 69 * kGigabyte);
  EXPECT_EQ(disk["writable"], true);
  for (const auto& [name, member] : drive.items()) {
    const bool isKnown = name == "name" || name == "paths" || name == "type" || name == "reached" ||
                         name == "clusterShared" || name == "error" || name == "status";
    EXPECT_EQ(member.is_null(), !isKnown) << name;
  }
}

}  // namespace
}  // namespace vtctl
