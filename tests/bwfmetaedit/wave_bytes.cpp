#include "bwfmetaedit/wave_bytes.h"

#include <gtest/gtest.h>

namespace ostrel::testing {

namespace {

std::uint64_t number(const std::string& bytes, std::size_t offset, int count) {
    std::uint64_t value = 0;
    for (int i = count; i-- > 0;)
        value = value * 256 + static_cast<unsigned char>(bytes.at(offset + static_cast<std::size_t>(i)));
    return value;
}

} // namespace

void PrintTo(const TestChunk& shown, std::ostream* stream) { *stream << shown.name << " " << shown.data.size(); }

std::string repeated(std::size_t count, char character) { return std::string(count, character); }

std::string le(std::uint64_t value, int bytes) {
    std::string result;
    for (int i = 0; i < bytes; ++i, value /= 256) result += static_cast<char>(value % 256);
    return result;
}

std::string chunk(const std::string& name, const std::string& data) {
    return name + le(data.size(), 4) + data + std::string(data.size() % 2, '\0');
}

std::string format(std::uint32_t rate) {
    return chunk("fmt ", le(1, 2) + le(1, 2) + le(rate, 4) + le(rate * 2, 4) + le(2, 2) + le(16, 2));
}

std::string audio(std::size_t bytes) {
    std::string data;
    for (std::size_t i = 0; i < bytes; ++i) data += static_cast<char>(i * 37 + i / 256);
    return chunk("data", data);
}

std::string infoField(const std::string& name, const std::string& text) { return chunk(name, text + '\0'); }

std::string infoList(const std::string& fields) { return chunk("LIST", "INFO" + fields); }

std::string bextData(const TestBext& bext) {
    std::string data;
    const auto put = [&data](std::string text, std::size_t size) {
        text.resize(size, '\0');
        data += text;
    };
    put(bext.description, 256);
    put(bext.originator, 32);
    put(bext.reference, 32);
    put(bext.date, 10);
    put(bext.time, 8);
    data += le(bext.timeReference, 8) + le(bext.version, 2);
    put(bext.umid, 64);
    std::string loudness;
    for (const std::int16_t value : bext.loudness) loudness += le(static_cast<std::uint16_t>(value), 2);
    put(loudness, 10);
    put({}, 180);
    data += bext.history;
    if (data.size() < bext.size) data.resize(bext.size, '\0');
    return data;
}

std::string bext(const TestBext& values) { return chunk("bext", bextData(values)); }

std::string riff(const std::string& chunks) { return "RIFF" + le(chunks.size() + 4, 4) + "WAVE" + chunks; }

std::string rf64(const std::string& chunks, std::uint64_t dataSize, std::uint64_t sampleCount) {
    const std::uint64_t riffSize = 4 + 36 + chunks.size();
    const std::string ds64 = chunk("ds64", le(riffSize, 8) + le(dataSize, 8) + le(sampleCount, 8) + le(0, 4));
    return "RF64" + le(0xffffffff, 4) + "WAVE" + ds64 + chunks;
}

std::vector<TestChunk> chunksOf(const std::string& file) {
    std::vector<TestChunk> chunks;
    std::uint64_t wide = 0;
    for (std::size_t at = 12; at + 8 <= file.size();) {
        const std::string name = file.substr(at, 4);
        std::uint64_t size = number(file, at + 4, 4);
        if (name == "data" && size == 0xffffffff) size = wide;
        const std::string data = file.substr(at + 8, size);
        EXPECT_EQ(data.size(), size) << name;
        if (name == "ds64") wide = number(data, 8, 8);
        chunks.push_back({name, data});
        at += 8 + size + size % 2;
    }
    return chunks;
}

std::string layoutOf(const std::string& file) {
    std::string layout;
    for (const TestChunk& shown : chunksOf(file)) {
        layout += (layout.empty() ? "" : " | ") + shown.name.substr(0, shown.name.find(' ')) + " " +
                  std::to_string(shown.data.size());
    }
    return layout;
}

std::string dataOf(const std::string& file, const std::string& name) {
    std::string data;
    int count = 0;
    for (const TestChunk& found : chunksOf(file)) {
        if (found.name != name) continue;
        data = found.data;
        ++count;
    }
    EXPECT_EQ(count, 1) << name;
    return data;
}

} // namespace ostrel::testing
