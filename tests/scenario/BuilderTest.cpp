#include <gtest/gtest.h>

#include "component/pst/ndb/NdbReader.h"
#include "tests/support/FaultyFileSystem.h"
#include "tests/support/StoreExample.h"
#include "tests/support/StoreMails.h"

namespace pastille::tests {
namespace {

/// The builder and the strict reader were made from the same published layout without knowing of each other:
/// each checks the other.
void ExpectSound(const Bytes& bytes, format::Variant variant)
{
    CMemorySource source(bytes);
    try {
        component::pst::VerifyNodeDatabase(source, format::LayoutOf(variant));
    } catch (const std::exception& error) {
        ADD_FAILURE() << error.what();
    }
}

TEST(Builder, SmallStoresPassTheStrictCheck)
{
    for (const format::Variant variant : {format::Variant::Ansi, format::Variant::Unicode}) {
        StoreDescription description = DescribeExample();
        description.format.variant = variant;
        StoreMessage& mail = description.folders[0].messages[0];
        mail.attachments = {
            {.fileName = u"tree", .data = Bytes(200'000, std::byte{1})},
            {.method = 5, .embedded = std::make_shared<StoreMessage>(Mail(u"Inner", u"Ada", u"Text", 0))}};
        ExpectSound(CBuiltStore(description).Content(), variant);
    }
}

TEST(Builder, StoresOfSeveralMapsAndTreeLevelsPassTheStrictCheck)
{
    for (const format::Variant variant : {format::Variant::Ansi, format::Variant::Unicode}) {
        CMemoryFile file;
        MailStoreOptions options;
        options.format.variant = variant;
        options.mails = 1500;
        options.folders = 2;
        WriteMailStore(options, file);
        EXPECT_GT(file.Size(), 3'000'000u);
        ExpectSound(file.Content(), variant);
    }
}

TEST(Builder, LargeStoresComeOutTheSameEachTimeAndAboutAsLargeAsAsked)
{
    for (const std::uint64_t size : {std::uint64_t{2'000'000}, std::uint64_t{5'000'000}}) {
        CMemoryFile first, second;
        WriteMailStore({.fileBytes = size}, first);
        WriteMailStore({.fileBytes = size}, second);
        EXPECT_TRUE(first.Content() == second.Content());
        EXPECT_NEAR(static_cast<double>(first.Size()), static_cast<double>(size),
                    static_cast<double>(size) / 6);
    }
}

}  // namespace
}  // namespace pastille::tests
