#include "audio/decode/OpenStream.h"
#include "audio/decode/WAVDecoder.h"

#include "audio/SoundFileBytes.h"
#include "svbase/TemporaryDirectory.h"
#include "svbase/util/Path.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace {

using namespace Audio::Decode;

TEST(Unreadable, A_file_that_somebody_else_keeps_to_himself_yields_no_type_and_the_files_error) {
    const TemporaryDirectory directory;
    const String path = directory.file(u8"a.wav", SoundFile::smallWav("abcd"));
    const HANDLE owner = CreateFileW(
        Util::Path::toSystem(path).toNativeWide().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0,
        nullptr);
    ASSERT_NE(owner, INVALID_HANDLE_VALUE);
    bool isCompressed = true;
    std::uint32_t type = 9;
    EXPECT_FALSE(detectFileType(path, isCompressed, type));
    EXPECT_EQ(type, 0U);
    EXPECT_EQ(openStream(path), nullptr);
    WAV::Decoder decoder(path);
    EXPECT_EQ(SoundFile::told(decoder.sync()), "File 2: Error opening file");
    CloseHandle(owner);
    EXPECT_EQ(SoundFile::told(decoder.sync()), "success");
}

} // namespace
