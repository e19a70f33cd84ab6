#include "platform/host/Drive.h"

#include <fstream>

#include "tests/support/MachineTest.h"

namespace {

class DriveTest : public host::MachineTest {
 protected:
  host::Drive& drive = host::machine().drive;
};

TEST_F(DriveTest, AFileIsKeptBelowTheDrivesLetter) {
  drive.write(L"C:\\data\\note.txt", "text");
  std::ifstream file(drive.root() / "C" / "data" / "note.txt");
  std::string content;
  file >> content;
  EXPECT_EQ(content, "text");
}

TEST_F(DriveTest, NamesIgnoreCase) {
  drive.write(L"C:\\Data\\Note.txt", "text");
  EXPECT_EQ(drive.read(L"c:\\dATA\\nOTE.TXT"), "text");
  EXPECT_TRUE(drive.exists(L"C:\\DATA"));
}

TEST_F(DriveTest, NamesKeepTheirCase) {
  drive.write(L"C:\\Data\\Note.txt", "first");
  drive.write(L"C:\\DATA\\NOTE.TXT", "second");
  EXPECT_EQ(drive.locate(L"C:\\data\\note.txt")->filename(), "Note.txt");
  EXPECT_EQ(drive.read(L"C:\\Data\\Note.txt"), "second");
}

TEST_F(DriveTest, ARelativePathStartsInTheCurrentDirectory) {
  host::machine().currentDirectory = L"C:\\data";
  drive.write(L"C:\\data\\note.txt", "text");
  EXPECT_EQ(drive.read(L"note.txt"), "text");
  EXPECT_EQ(drive.read(L".\\note.txt"), "text");
  EXPECT_EQ(drive.read(L"C:note.txt"), "text");
}

TEST_F(DriveTest, APathWithoutADriveStartsAtTheCurrentOne) {
  drive.write(L"C:\\data\\note.txt", "text");
  EXPECT_EQ(drive.read(L"\\data\\note.txt"), "text");
}

TEST_F(DriveTest, SlashesSeparateToo) {
  drive.write(L"C:\\data\\note.txt", "text");
  EXPECT_EQ(drive.read(L"C:/data/note.txt"), "text");
}

TEST_F(DriveTest, TwoDotsGoUp) {
  EXPECT_EQ(host::Drive::normalized(L"C:\\a\\b\\..\\conf\\", L"C:\\"), L"C:\\a\\conf");
  EXPECT_EQ(host::Drive::normalized(L"C:\\..\\..\\x", L"C:\\"), L"C:\\x");
}

TEST_F(DriveTest, DoubledSeparatorsCountAsOne) {
  EXPECT_EQ(host::Drive::normalized(L"C:\\a\\\\b\\", L"C:\\"), L"C:\\a\\b");
}

TEST_F(DriveTest, TheRootKeepsItsSeparator) {
  EXPECT_EQ(host::Drive::normalized(L"C:\\", L"C:\\x"), L"C:\\");
  EXPECT_EQ(host::Drive::normalized(L"\\", L"C:\\x"), L"C:\\");
}

TEST_F(DriveTest, DotsAndBlanksAtTheEndOfANameFallAway) {
  EXPECT_EQ(host::Drive::normalized(L"C:\\a.\\note.txt. ", L"C:\\"), L"C:\\a\\note.txt");
}

TEST_F(DriveTest, TheLongPathPrefixFallsAway) {
  EXPECT_EQ(host::Drive::normalized(L"\\\\?\\C:\\a", L"C:\\"), L"C:\\a");
}

TEST_F(DriveTest, LocateTellsAMissingFileFromAMissingFolder) {
  DWORD error = 99;
  EXPECT_TRUE(drive.locate(L"C:\\Windows\\none.txt", &error).has_value());
  EXPECT_EQ(error, 2U);
  EXPECT_FALSE(drive.locate(L"C:\\none\\none.txt", &error).has_value());
  EXPECT_EQ(error, 3U);
  EXPECT_TRUE(drive.locate(L"C:\\Windows", &error).has_value());
  EXPECT_EQ(error, 0U);
}

TEST_F(DriveTest, AFileInTheMiddleOfAPathIsNoFolder) {
  drive.write(L"C:\\note.txt", "text");
  DWORD error = 0;
  EXPECT_FALSE(drive.locate(L"C:\\note.txt\\more", &error).has_value());
  EXPECT_EQ(error, 3U);
}

TEST_F(DriveTest, AnotherDriveIsAMissingFolder) {
  DWORD error = 0;
  EXPECT_FALSE(drive.locate(L"D:\\note.txt", &error).has_value());
  EXPECT_EQ(error, 3U);
}

TEST_F(DriveTest, CharactersThatNamesCannotHoldAreRefused) {
  DWORD error = 0;
  EXPECT_FALSE(drive.locate(L"C:\\a<b", &error).has_value());
  EXPECT_EQ(error, 123U);
  EXPECT_FALSE(drive.locate(L"C:\\a:b", &error).has_value());
  EXPECT_EQ(error, 123U);
}

TEST_F(DriveTest, APathOf260CharactersIsTooLong) {
  const std::wstring longest = L"C:\\" + std::wstring(256, L'a');
  DWORD error = 0;
  EXPECT_FALSE(drive.locate(longest + L"a", &error).has_value());
  EXPECT_EQ(error, 3U);
}

TEST_F(DriveTest, NamesOutsideAsciiAreKept) {
  drive.write(L"C:\\d\u00e4ta\\\u0142og.txt", "text");
  EXPECT_EQ(drive.read(L"C:\\d\u00e4ta\\\u0142og.txt"), "text");
  EXPECT_TRUE(std::filesystem::exists(drive.root() / "C" / "d\u00e4ta"));
}

TEST_F(DriveTest, ALinkShowsTheFileOutside) {
  const std::filesystem::path outside = drive.root() / "outside.bin";
  std::ofstream(outside) << "bytes";
  drive.linkIn(outside, L"C:\\lib\\inside.bin");
  EXPECT_EQ(drive.read(L"C:\\lib\\inside.bin"), "bytes");
  drive.remove(L"C:\\lib\\inside.bin");
  EXPECT_FALSE(drive.exists(L"C:\\lib\\inside.bin"));
  EXPECT_TRUE(std::filesystem::exists(outside));
}

TEST_F(DriveTest, ACopyIsIndependent) {
  const std::filesystem::path outside = drive.root() / "outside.bin";
  std::ofstream(outside) << "old";
  drive.copyIn(outside, L"C:\\lib\\inside.bin");
  std::ofstream(outside) << "new";
  EXPECT_EQ(drive.read(L"C:\\lib\\inside.bin"), "old");
}

TEST_F(DriveTest, EveryMachineHasItsStandardFolders) {
  EXPECT_TRUE(drive.exists(L"C:\\Windows\\System32"));
  EXPECT_TRUE(drive.exists(L"C:\\Windows\\System32\\config\\systemprofile\\AppData\\Local"));
  EXPECT_TRUE(drive.exists(L"C:\\Windows\\System32\\config\\systemprofile\\AppData\\LocalLow"));
  EXPECT_TRUE(drive.exists(L"C:\\Program Files\\Orvix\\TPMEnrollmentService"));
}

TEST_F(DriveTest, ATemporaryDriveIsRemovedWithTheMachine) {
  const std::filesystem::path root = drive.root();
  ASSERT_TRUE(std::filesystem::exists(root));
  host::resetMachine();
  EXPECT_FALSE(std::filesystem::exists(root));
}

TEST_F(DriveTest, AKeptDriveStays) {
  host::Drive elsewhere;
  const std::filesystem::path folder = drive.root() / "kept";
  {
    host::Drive kept;
    kept.keepIn(folder);
    kept.write(L"C:\\note.txt", "text");
  }
  EXPECT_TRUE(std::filesystem::exists(folder / "C" / "note.txt"));
}

}  // namespace
