#include "audio/decode/OpenStream.h"

#include "audio/SoundFileBytes.h"
#include "svbase/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace Audio::Decode;

/// Says what is wrong and ends the process, with success if nothing is. As somebody for whom permissions
/// count: the system does not ask root.
[[noreturn]] void checkWithoutRights(const String& path, std::uint32_t decoderType) {
    constexpr unsigned nobody = 65534;
    if (geteuid() == 0 && (setgid(nobody) != 0 || setuid(nobody) != 0)) {
        std::fprintf(stderr, "cannot become nobody\n");
        _exit(2);
    }
    bool isCompressed = true;
    std::uint32_t type = 9;
    const bool detected = detectFileType(path, isCompressed, type);
    const Result result = createDecoder(path, decoderType)->sync();
    const std::string told = SoundFile::told(result);
    const auto* const error = result ? nullptr : result.error().get<Util::File::Error>();
    const bool isDenied = error != nullptr && error->osError() == checked_value<unsigned>(EACCES);
    if (detected || type != 0 || openStream(path) != nullptr || told != "File 2: Error opening file" ||
        !isDenied) {
        std::fprintf(stderr, "detected %d, type %u, told %s\n", detected ? 1 : 0, type, told.c_str());
        _exit(1);
    }
    _exit(0);
}

TEST(UnreadableDeathTest, A_file_without_permission_yields_no_type_and_the_files_error) {
    const TemporaryDirectory directory;
    const String path = directory.file(u8"a.wav", SoundFile::smallWav("abcd"));
    ASSERT_EQ(chmod(directory.path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(path.c_str(), 0), 0);
    for (const std::uint32_t type : {FileTypeWAV, FileTypeAIFF}) {
        EXPECT_EXIT(checkWithoutRights(path, type), testing::ExitedWithCode(0), "");
    }
}

} // namespace
