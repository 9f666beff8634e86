// The whole tool over one file, in every mode. The input is the recording; behind the mark, if it is there, is the
// document that is applied to it.
#include "bwfmetaedit/program/run.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

constexpr const char* kMark = "====DOCUMENT====";

// A folder in memory where there is one: the tool brings its files to the disk.
class Workplace {
public:
    Workplace() {
        std::error_code error;
        const bool inMemory = std::filesystem::is_directory("/dev/shm", error);
        std::string pattern = std::string(inMemory ? "/dev/shm" : "/tmp") + "/bwfmetaedit-fuzz-XXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr) std::abort();
        folder_ = pattern;
    }
    Workplace(const Workplace&) = delete;
    Workplace& operator=(const Workplace&) = delete;
    ~Workplace() { std::filesystem::remove_all(folder_); }

    std::string path(const char* name) const { return folder_ + "/" + name; }

private:
    std::string folder_;
};

void write(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

std::string read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

struct Result {
    int status;
    std::string out;
};

Result run(const std::vector<std::string>& arguments) {
    std::ostringstream out;
    std::ostringstream err;
    const int status = ostrel::bwfmetaedit::run(arguments, out, err);
    return {status, out.str()};
}

void require(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "broken promise: %s\n", what);
    std::abort();
}

// What has been written can be read, says what it was told, and needs no second write.
void changeTwice(const Workplace& place, const std::string& recording, const std::vector<std::string>& options) {
    const std::string file = place.path("a.wav");
    write(file, recording);
    std::vector<std::string> arguments = options;
    arguments.push_back(file);
    if (run(arguments).status != 0) {
        require(read(file) == recording, "a failed change leaves the file alone");
        return;
    }
    const std::string once = read(file);
    require(run({file}).status == 0, "a changed file is valid");
    require(run(arguments).status == 0, "a change can be made again");
    require(read(file) == once, "the second time nothing changes");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Workplace place;
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::size_t mark = input.find(kMark);
    const std::string recording = input.substr(0, mark);
    const std::string document =
        mark == std::string::npos ? input : input.substr(mark + std::char_traits<char>::length(kMark));
    const std::string file = place.path("a.wav");
    const std::string documentFile = place.path("document");

    write(file, recording);
    for (const char* option : {"--out-core=-", "--out-core-xml=-", "--out-iXML=-", "--verbose"}) run({option, file});
    require(read(file) == recording, "looking changes nothing");

    changeTwice(
        place, recording,
        {"--Description=d\xc3\xa9", "--OriginationDate=2024-01-01", "--ICMT=comment", "--TimeReference=4294967299"});
    changeTwice(place, recording, {"--Description=", "--Originator=x", "--ICMT=", "--ITCH=t"});
    changeTwice(place, recording, {"--reject-overwrite", "--Originator=x"});
    write(documentFile, document);
    changeTwice(place, recording, {"--in-iXML=" + documentFile});

    // The document names the recording as "a.wav"; here its name is a path.
    std::string aimed = document;
    for (std::size_t at = aimed.find("a.wav"); at != std::string::npos; at = aimed.find("a.wav", at + file.size())) {
        aimed.replace(at, 5, file);
    }
    write(documentFile, aimed);
    write(file, recording);
    run({"--in-core=" + documentFile, file});

    const std::string target = place.path("b.wav");
    write(file, recording);
    const std::string head("fmt \x10\0\0\0\1\0\1\0\x40\x1f\0\0\x80\x3e\0\0\2\0\x10\0data\4\0\0\0abcd", 36);
    write(target, std::string("RIFF\x28\0\0\0WAVE", 12) + head);
    for (const char* option : {"--reject-overwrite", "--simulate", "--verbose"}) run({option, "--copy", file, target});
    require(run({target}).status == 0, "a target of a copy is valid");
    require(read(file) == recording, "the source of a copy is only read");
    return 0;
}
