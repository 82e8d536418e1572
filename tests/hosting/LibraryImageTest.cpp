#include "hosting/vst/LibraryImage.h"

#include "hosting/FakeEffect.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

namespace {

using Tarvik::MachineType;
using Tarvik::readElf;
using Tarvik::readPortableExecutable;
using testing::ElementsAre;
using testing::IsEmpty;

using Bytes = std::vector<std::uint8_t>;

void put16(Bytes& bytes, std::size_t at, std::uint32_t value) {
    bytes[at] = static_cast<std::uint8_t>(value);
    bytes[at + 1] = static_cast<std::uint8_t>(value >> 8);
}

void put32(Bytes& bytes, std::size_t at, std::uint32_t value) {
    put16(bytes, at, value & 0xFFFF);
    put16(bytes, at + 2, value >> 16);
}

Bytes portableExecutable(std::uint32_t machine, std::uint32_t headerAt = 0x80) {
    Bytes file(headerAt + 24);
    file[0] = 'M';
    file[1] = 'Z';
    put32(file, 0x3C, headerAt);
    file[headerAt] = 'P';
    file[headerAt + 1] = 'E';
    put16(file, headerAt + 4, machine);
    return file;
}

Bytes elf(std::uint32_t machine) {
    Bytes file(64);
    const Bytes magic{0x7F, 'E', 'L', 'F'};
    std::copy(magic.begin(), magic.end(), file.begin());
    put16(file, 18, machine);
    return file;
}

TEST(LibraryImage, The_machine_of_a_windows_library_stands_in_its_file_header) {
    EXPECT_THAT(readPortableExecutable(portableExecutable(0x014C)), ElementsAre(MachineType::X86));
    EXPECT_THAT(readPortableExecutable(portableExecutable(0x8664)), ElementsAre(MachineType::X86_64));
    EXPECT_THAT(readPortableExecutable(portableExecutable(0x0200)), ElementsAre(MachineType::IA64));
    EXPECT_THAT(readPortableExecutable(portableExecutable(0xAA64)), IsEmpty());
}

TEST(LibraryImage, The_machine_of_an_ELF_library_stands_in_its_header) {
    EXPECT_THAT(readElf(elf(3)), ElementsAre(MachineType::X86));
    EXPECT_THAT(readElf(elf(62)), ElementsAre(MachineType::X86_64));
    EXPECT_THAT(readElf(elf(50)), ElementsAre(MachineType::IA64));
    EXPECT_THAT(readElf(elf(183)), IsEmpty());
}

TEST(LibraryImage, A_file_cut_anywhere_inside_its_headers_has_no_machine) {
    const Bytes file = portableExecutable(0x8664);
    for (std::size_t size = 0; size < file.size(); ++size) {
        // In memory of its own, so that reading past the end shows.
        const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_THAT(readPortableExecutable(cut), IsEmpty()) << size;
    }
    const Bytes other = elf(62);
    for (std::size_t size = 0; size < 20; ++size) {
        const Bytes cut(other.begin(), other.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_THAT(readElf(cut), IsEmpty()) << size;
    }
}

TEST(LibraryImage, A_header_offset_past_the_end_leads_nowhere) {
    for (const std::uint32_t offset :
         {0x81u, 0x98u, 0x99u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFE8u, 0xFFFFFFFFu}) {
        Bytes file = portableExecutable(0x8664);
        put32(file, 0x3C, offset);
        EXPECT_THAT(readPortableExecutable(file), IsEmpty()) << offset;
    }
}

TEST(LibraryImage, Without_its_signatures_a_file_is_no_library) {
    Bytes noDos = portableExecutable(0x8664);
    noDos[0] = 'N';
    EXPECT_THAT(readPortableExecutable(noDos), IsEmpty());
    Bytes noNt = portableExecutable(0x8664);
    noNt[0x82] = 1;
    EXPECT_THAT(readPortableExecutable(noNt), IsEmpty());
    EXPECT_THAT(readPortableExecutable(elf(62)), IsEmpty());
    EXPECT_THAT(readElf(portableExecutable(0x8664)), IsEmpty());
}

TEST(LibraryImage, Random_bytes_behind_the_signature_are_survived) {
    std::mt19937 random(7);
    for (int round = 0; round < 20000; ++round) {
        Bytes file(std::uniform_int_distribution<std::size_t>(0, 200)(random));
        std::generate(file.begin(), file.end(), [&] { return static_cast<std::uint8_t>(random()); });
        if (file.size() > 0x40) {
            file[0] = 'M';
            file[1] = 'Z';
            put32(file, 0x3C, static_cast<std::uint32_t>(random() % 256));
        }
        EXPECT_LE(readPortableExecutable(file).size(), 1u);
        EXPECT_LE(readElf(file).size(), 1u);
    }
}

TEST(VSTLibrary, A_library_of_this_process_is_of_its_machine) {
    EXPECT_THAT(
        Tarvik::VSTLibrary::ReadMachineTypes(EffectLibraryPath("no_entry.dll")),
        ElementsAre(MachineType::X86_64));
}

} // namespace
