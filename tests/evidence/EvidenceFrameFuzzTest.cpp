// Show that malformed frame text is refused cleanly, whatever its damage.
#include <random>

#include <gtest/gtest.h>

#include "evidence/EvidenceFrame.h"
#include "evidence/GeneratedFrames.h"
#include "support/FuzzInput.h"

namespace vigilmoth {
namespace {

const JSONEncoder lab{
    .sortedKeys = true, .escapeSlashes = false, .dates = DateStrategy::wholeMilliseconds};

// Whatever decodes must be a frame that can be written again.
void decodeSafely(const std::string& text) {
    if (auto frame = decodeJSONText<EvidenceFrame>(text)) {
        EXPECT_NO_THROW(encodeJSONText(*frame, lab));
    }
}

TEST(EvidenceFrameFuzzTest, TruncatedFramesAreNeverRead) {
    testing::FrameGenerator generator(7);
    for (int index = 0; index < 200; ++index) {
        auto text = encodeJSONText(generator.frame(), lab);
        for (std::size_t length = 0; length < text.size(); length += 1 + text.size() / 40) {
            SCOPED_TRACE(text.substr(0, length));
            EXPECT_FALSE(decodeJSONText<EvidenceFrame>(text.substr(0, length)));
        }
    }
}

TEST(EvidenceFrameFuzzTest, MutatedFramesAreReadOrRefusedNeverCrash) {
    testing::FrameGenerator generator(11);
    std::mt19937 random(12);
    for (int index = 0; index < 8000; ++index) {
        auto text = encodeJSONText(generator.frame(), lab);
        decodeSafely(testing::mutatedText(text, random));
    }
}

TEST(EvidenceFrameFuzzTest, RandomBytesAreRefused) {
    std::mt19937 random(13);
    for (int index = 0; index < 5000; ++index) {
        EXPECT_FALSE(decodeJSONText<EvidenceFrame>(testing::randomBytes(random, 200)));
    }
}

TEST(EvidenceFrameFuzzTest, DeepNestingAndHugeNumbersAreRefused) {
    const std::size_t depth = 200000;
    const std::string cases[] = {
        std::string(depth, '['),
        std::string(depth, '[') + std::string(depth, ']'),
        R"({"at":1,"agents":)" + std::string(depth, '[') + std::string(depth, ']') + "}",
        R"({"at":1,"ctx":)" + std::string(depth / 2, '{') + "}",
        R"({"at":1e999})",
        R"({"at":1,"v":99999999999999999999999})",
        R"({"at":1,"agents":[{"id":"a","name":"a","level":"state","pid":1,"start":1,"nj":1e400}]})",
        R"({"at":1,"agents":[{"id":"a","name":"a","level":"state","pid":1,"start":1,)"
        R"("busy":4294967296}]})",
        "",
        "\xef\xbb\xbf",
        "{\"at\":1,\"agents\":[{\"id\":\"\xff\xfe\",\"name\":\"a\",\"level\":\"state\","
        "\"pid\":1,\"start\":1}]}",
    };
    for (const auto& text : cases) {
        SCOPED_TRACE(text.substr(0, 80));
        EXPECT_FALSE(decodeJSONText<EvidenceFrame>(text));
    }
    std::string nested = R"({"at":1,"extra":)";
    for (std::size_t level = 0; level < depth; ++level)
        nested += R"({"a":)";
    nested += "1" + std::string(depth, '}') + "}";
    // Unknown keys are ignored, however deep they go.
    EXPECT_TRUE(decodeJSONText<EvidenceFrame>(nested));
}

}  // namespace
}  // namespace vigilmoth
