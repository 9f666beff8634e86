#include "custody/certificate.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ostrel::testing {
namespace {

// Braces around one value are the value itself.
template <class... Values>
nlohmann::json list(const Values&... values) {
    nlohmann::json result = nlohmann::json::array();
    (result.push_back(values), ...);
    return result;
}

nlohmann::json channel(const char* audio, const char* reason = nullptr) {
    return {{"output", "/out/Rain <1>.wav"},
            {"outputChannel", 2},
            {"source", "/in/Rain.R.wav"},
            {"sourceChannel", 1},
            {"audio", audio},
            {"xxh128", "99aa06d3014798d86001c324468d497f"},
            {"reason", reason ? nlohmann::json(reason) : nlohmann::json()}};
}

nlohmann::json item(const char* status, const char* audio) {
    nlohmann::json result{
        {"name", "Rain & <b>Wind</b>"},
        {"status", status},
        {"statusText", "Completed"},
        {"outputs", list("/out/Rain <1>.wav")},
        {"warnings", nlohmann::json::array()},
        {"fates", list(nlohmann::json{{"source", "/in/Rain.R.wav"}, {"fate", "moved"}, {"movedTo", "/in/old"}})}};
    if (audio) {
        result["proof"] = {{"audio", audio},
                           {"channels", list(channel(audio))},
                           {"metadata", {{"kept", {"Description", "iXML"}}, {"renewed", {"CodingHistory"}}}}};
    }
    return result;
}

nlohmann::json run(const nlohmann::json& items) {
    return {{"job", "interleave"},
            {"items", items},
            {"made", {{"date", "2026-01-02T09:08:07Z"}, {"tools", {{"ffmpeg", "ffmpeg version 5.1"}}}}}};
}

TEST(Certificate, SaysWhatCameOfWhatHashByHash) {
    const QString page = certificateOf(run(list(item("completed", "identical"))), QStringLiteral("abcd"));
    for (const char* part :
         {"✓ Certified: every channel of 1 item is identical", "<code>99aa06d3014798d86001c324468d497f</code>",
          "<td>Rain &lt;1&gt;.wav</td><td>2</td><td>Rain.R.wav</td><td>1</td>", "/in/Rain.R.wav: moved to /in/old",
          "Description, iXML", "CodingHistory", "2026-01-02T09:08:07Z", "ffmpeg version 5.1", "<dd>abcd</dd>"}) {
        EXPECT_TRUE(page.contains(QString::fromUtf8(part))) << part << "\n" << page.toStdString();
    }
}

TEST(Certificate, IsOnePageByItselfWhateverNamesHold) {
    const QString page = certificateOf(run(list(item("completed", "identical"))));
    EXPECT_TRUE(page.contains(QStringLiteral("Rain &amp; &lt;b&gt;Wind&lt;/b&gt;")));
    for (const char* part : {"<b>", "<script", "http", "src=", "href="}) {
        EXPECT_FALSE(page.contains(QString::fromLatin1(part))) << part;
    }
}

// One bad item, and the whole is not certified.
TEST(Certificate, CertifiesNoRunOfWhichOneItemIsNotProven) {
    const nlohmann::json good = item("completed", "identical");
    for (const nlohmann::json& other : {item("failed", "differs"), item("completed", "unproven"),
                                        item("completed", nullptr), item("failed", nullptr)}) {
        const QString page = certificateOf(run(list(good, other)));
        EXPECT_TRUE(page.contains(QStringLiteral("✗ Not certified as a whole: 1 item identical"))) << other.dump();
        EXPECT_FALSE(page.contains(QStringLiteral("✓ Certified")));
    }
    EXPECT_FALSE(certificateOf(run(list(item("failed", "differs")))).contains(QStringLiteral("✓")));
}

TEST(Certificate, RefusesWhatIsNoProvenRun) {
    EXPECT_THROW(certificateOf(nlohmann::json()), CertificateError);
    EXPECT_THROW(certificateOf({{"job", 1}, {"items", 2}}), CertificateError);
    EXPECT_THROW(certificateOf(run(list(item("completed", nullptr)))), CertificateError);
    EXPECT_THROW(certificateOf(run(nlohmann::json::array())), CertificateError);
}

TEST(Certificate, TakesAnyShapeOfDocument) {
    nlohmann::json odd = item("completed", "identical");
    odd["proof"]["channels"] = {1, "two", nullptr, {{"output", 3}}};
    odd["proof"]["metadata"] = "none";
    odd["fates"] = {{"source", nullptr}};
    EXPECT_NO_THROW(certificateOf(run({odd, 7, nullptr})));
}

} // namespace
} // namespace ostrel::testing
