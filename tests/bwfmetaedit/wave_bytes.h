// WAV files as bytes, built and taken apart here independently of the code under test.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ostrel::testing {

struct TestChunk {
    std::string name;
    std::string data;

    bool operator==(const TestChunk&) const = default;
};
void PrintTo(const TestChunk& chunk, std::ostream* stream);

std::string repeated(std::size_t count, char character);
std::string le(std::uint64_t number, int bytes);

// With header and pad byte.
std::string chunk(const std::string& name, const std::string& data);
std::string format(std::uint32_t rate = 8000);                           // fmt: mono, 16-bit PCM
std::string audio(std::size_t bytes = 400);                              // data: no two neighbours alike
std::string infoField(const std::string& name, const std::string& text); // with its NUL
std::string infoList(const std::string& fields);

struct TestBext {
    std::string description, originator, reference, date, time, history;
    std::uint64_t timeReference = 0;
    std::uint16_t version = 0;
    std::string umid;                   // raw bytes
    std::vector<std::int16_t> loudness; // in 1/100
    std::size_t size = 602;             // at least
};
std::string bextData(const TestBext& bext);
std::string bext(const TestBext& bext);

std::string riff(const std::string& chunks);
// ds64 comes first, the sizes of `chunks` are taken as they are; the data chunk of `chunks` has to have 0xFFFFFFFF.
std::string rf64(const std::string& chunks, std::uint64_t dataSize, std::uint64_t sampleCount);

// By the sizes in the file.
std::vector<TestChunk> chunksOf(const std::string& file);
// "fmt 16 | bext 858 | FLLR 16384 | data 400"
std::string layoutOf(const std::string& file);
// The data of the only chunk of that name.
std::string dataOf(const std::string& file, const std::string& name);

} // namespace ostrel::testing
