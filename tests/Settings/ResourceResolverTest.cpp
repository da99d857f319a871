// The chain of resource resolvers: order, the first yes ends the search, the flag each entry
// passes on, and the file layer's request for a file that isn't there.
#include "Base/Settings/ResourceResolver.h"
#include "Base/Files/FileResource.h"
#include "tests/Files/TempFolderFixture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace QELTA {
namespace {

// Says `answer` to every question and writes down each one as "<operation> <name> <flag>".
class ScriptedResolver : public ResourceResolver {
  public:
    ScriptedResolver(std::string label, bool answer, std::vector<std::string> & asked)
        : label_(std::move(label)), answer_(answer), asked_(asked) {}

    bool resolveResource(StringView const & name, Callback const & callback, bool flag) override {
        return answer("resolve", name, callback, flag);
    }
    bool resolveQELTAResource(StringView const & name, Callback const & callback, bool flag) override {
        return answer("resolveQELTA", name, callback, flag);
    }
    bool unzipResource(StringView const & name, Callback const & callback) override {
        return answer("unzip", name, callback, false);
    }

  private:
    bool answer(char const * operation, StringView const & name, Callback const & callback, bool flag) {
        asked_.push_back(label_ + " " + operation + " " + std::string(name) + (flag ? " T" : " F"));
        if (answer_ && callback) {
            callback(true, name);
        }
        return answer_;
    }

    std::string label_;
    bool answer_;
    std::vector<std::string> & asked_;
};

class ResourceResolverTest : public Testing::TempFolderTest {
  protected:
    void SetUp() override {
        TempFolderTest::SetUp();
        ResourceResolver::ResetForTesting();
    }
    void TearDown() override {
        ResourceResolver::ResetForTesting();
        TempFolderTest::TearDown();
    }

    ResourceResolver::Callback Recording() {
        return [this](bool success, StringView const & text) {
            calls_.push_back((success ? "T " : "F ") + std::string(text));
        };
    }

    std::vector<std::string> asked_;
    std::vector<std::string> calls_;
};

TEST_F(ResourceResolverTest, EmptyChainSaysNoAndNeverCallsBack) {
    EXPECT_FALSE(ResourceResolver::ResolveResource("maps.zip", Recording(), false));
    EXPECT_FALSE(ResourceResolver::ResolveQELTAResource("maps.zip", Recording(), false));
    EXPECT_FALSE(ResourceResolver::CheckAndUnzipResource("maps.zip", Recording()));
    EXPECT_FALSE(ResourceResolver::CheckAndUnzipQELTAResource("maps.zip", Recording()));
    EXPECT_FALSE(ResourceResolver::UnzipResource("maps.zip", Recording()));
    EXPECT_TRUE(calls_.empty());
}

TEST_F(ResourceResolverTest, FirstYesEndsTheSearch) {
    ScriptedResolver refusing("first", false, asked_);
    ScriptedResolver taking("second", true, asked_);
    ScriptedResolver never("third", true, asked_);
    ResourceResolver::AddResolver(&refusing);
    ResourceResolver::AddResolver(&taking);
    ResourceResolver::AddResolver(&never);

    EXPECT_TRUE(ResourceResolver::ResolveResource("a", Recording(), false));
    EXPECT_TRUE(ResourceResolver::CheckAndUnzipQELTAResource("b", Recording()));
    EXPECT_TRUE(ResourceResolver::UnzipResource("c", Recording()));

    std::vector<std::string> const expected = {
        "first resolve a F",       "second resolve a F", "first resolveQELTA b T",
        "second resolveQELTA b T", "first unzip c F",    "second unzip c F",
    };
    EXPECT_EQ(asked_, expected);
    EXPECT_EQ(calls_, (std::vector<std::string>{"T a", "T b", "T c"}));
}

TEST_F(ResourceResolverTest, ChainWhereNobodyTakesItSaysNo) {
    ScriptedResolver refusing("only", false, asked_);
    ResourceResolver::AddResolver(&refusing);
    EXPECT_FALSE(ResourceResolver::CheckAndUnzipResource("x", Recording()));
    EXPECT_EQ(asked_, (std::vector<std::string>{"only resolve x T"}));
}

TEST_F(ResourceResolverTest, FileLayerAsksOnlyForMissingFiles) {
    ScriptedResolver taking("fetch", true, asked_);
    ResourceResolver::AddResolver(&taking);
    Testing::WriteAll(SystemPath("present.dat"), "x");

    EXPECT_TRUE(FileResource::RequestResource(Path("present.dat"), Recording()));
    EXPECT_TRUE(asked_.empty());
    EXPECT_TRUE(FileResource::RequestResource(Path("missing.dat"), Recording()));
    ASSERT_EQ(asked_.size(), 1u);
    EXPECT_EQ(asked_[0], "fetch resolve " + std::string(Path("missing.dat").view()) + " T");

    ResourceResolver::ResetForTesting();
    EXPECT_FALSE(FileResource::RequestResource(Path("missing.dat"), Recording()));
}

} // namespace
} // namespace QELTA
