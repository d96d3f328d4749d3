#include "linux/firefox_service_worker_file.h"

#include <gtest/gtest.h>

namespace tasselby {
namespace {

std::string block(const std::string& suffix, const std::string& scope) {
    return suffix + "\n" + scope + "\n" + scope + "sw.js\ntrue\n{6f1b1d6e-6a0c-4b8e-9d0e-1c2b3a4d5e6f}\n0\n"
           "1763860000000000\n1763860000000000\n1763860000000000\n0\ntrue\n#\n";
}

TEST(FirefoxServiceWorkerFileTest, DropsOnlyTheRegistrationsNotKept) {
    const std::string alpha = block("", "http://alpha.localhost:18765/");
    const std::string beta = block("^userContextId=1", "http://beta.localhost:18765/");
    const std::string gamma = block("", "https://gamma.example/app/");
    std::optional<FirefoxServiceWorkerFile> file = FirefoxServiceWorkerFile::parse("12\n" + alpha + beta + gamma);
    ASSERT_TRUE(file);
    ASSERT_EQ(file->registrations().size(), 3u);
    EXPECT_EQ(file->registrations()[1].scope, "http://beta.localhost:18765/");
    EXPECT_EQ(file->registrations()[1].suffix, "^userContextId=1");
    auto notBeta = [](const FirefoxServiceWorkerFile::Registration& r) { return r.scope.find("beta") == std::string::npos; };
    EXPECT_EQ(file->textKeeping(notBeta), "12\n" + alpha + gamma);
    EXPECT_EQ(file->textKeeping([](auto&) { return false; }), "12\n");
}

TEST(FirefoxServiceWorkerFileTest, TheOldestVersionHasItsScopeOnTheThirdLine) {
    std::optional<FirefoxServiceWorkerFile> file =
        FirefoxServiceWorkerFile::parse("2\n\nhttps://a.example/sw.js\nhttps://a.example/\nx\n#\n");
    ASSERT_TRUE(file);
    EXPECT_EQ(file->registrations().at(0).scope, "https://a.example/");
}

TEST(FirefoxServiceWorkerFileTest, FilesThatDoNotParseAreRefused) {
    const std::string good = block("", "https://a.example/");
    for (const std::string& text : {std::string(""), std::string("12"), "13\n" + good, "1\n" + good, "x\n" + good,
                                    "12\n" + good.substr(0, good.size() - 1),  // last line unterminated
                                    "12\n" + good + "leftover\n", std::string("12\n\n#\n"), "12 \n" + good,
                                    "12\r\n" + good}) {
        EXPECT_FALSE(FirefoxServiceWorkerFile::parse(text)) << text;
    }
    EXPECT_TRUE(FirefoxServiceWorkerFile::parse("12\n"));
}

}  // namespace
}  // namespace tasselby
