#include "tests/component/WholeItemFixture.h"
#include "tests/support/OutsideReaders.h"

namespace pastille::tests::whole {
namespace {

class WholeItems : public CWholeFixture {};

TEST_F(WholeItems, RecipientsKeepPropertiesThatTheTemplateHasNoColumnFor)
{
    constexpr std::uint32_t kCount = 2000;
    const auto message = NewMessage();
    for (std::uint32_t i = 0; i < kCount; ++i) {
        const auto recipient = message->AddRecipient();
        EXPECT_TRUE(Put(*recipient, 0x0C150003, Number(1 + i % 3)));
        EXPECT_TRUE(Put(*recipient, 0x3001001F, Wide("name " + std::to_string(i))));
        EXPECT_TRUE(Put(*recipient, 0x5FFD0003, Number(i)));
        EXPECT_TRUE(Put(*recipient, 0x60000040, "filetime"));
        EXPECT_TRUE(Put(*recipient, 0x60010002, "ab"));
        EXPECT_TRUE(Put(*recipient, 0x6002000B, std::string(1, static_cast<char>(i % 2))));
        EXPECT_TRUE(Put(*recipient, 0x60030048, "0123456789ABCDEF"));
        if (i == 7) {
            EXPECT_TRUE(Put(*recipient, 0x39FE001F, Wide(std::string(9000, 'l'))));
        }
        if (i == 9) {
            EXPECT_FALSE(Put(*recipient, 0x39FE0102, "the column is of strings"));
        }
    }
    message->Save();
    const auto wide = NewMessage();
    const auto recipient = wide->AddRecipient();
    std::uint32_t added = 0;
    HRESULT result = 0;
    while (result == 0 && added < 300) {
        const std::uint32_t tag = (0x6000 + added) << 16 | (added % 3 == 0 ? 0x000B : 0x0002);
        result = ErrorOf([&] { Put(*recipient, tag, added % 3 == 0 ? "\x01" : "ab"); }).first;
        added += result == 0 ? 1 : 0;
    }
    EXPECT_EQ(result, E_INVALIDARG);
    EXPECT_EQ(added, 255u - 14u);
    wide->Save();

    auto finished = Finish();
    const auto messages = finished.NodesOf(NidType::NormalMessage);
    auto rows = finished.Recipients(messages.at(0));
    ASSERT_EQ(rows.size(), kCount);
    for (std::uint32_t i = 0; i < kCount; i += 7) {
        EXPECT_EQ(rows[i].size(), i == 7 ? 8u : 7u);
        EXPECT_EQ(rows[i][0x0C15].bytes, Number(1 + i % 3));
        EXPECT_EQ(rows[i][0x3001].bytes, Wide("name " + std::to_string(i)));
        EXPECT_EQ(rows[i][0x5FFD].bytes, Number(i));
        EXPECT_EQ(rows[i][0x6000].bytes, "filetime");
        EXPECT_EQ(rows[i][0x6001].bytes, "ab");
        EXPECT_EQ(rows[i][0x6002].bytes, std::string(1, static_cast<char>(i % 2)));
        EXPECT_EQ(rows[i][0x6003].bytes, "0123456789ABCDEF");
    }
    EXPECT_EQ(rows[7][0x39FE].bytes, Wide(std::string(9000, 'l')));
    auto wideRow = finished.Recipients(messages.at(1)).at(0);
    EXPECT_EQ(wideRow.size(), added + 1) << "and a type, which each recipient has";
    EXPECT_EQ(wideRow[0x0C15].bytes, Number(1));
    EXPECT_EQ(wideRow[0x6000 + 3].bytes, "\x01");
    EXPECT_EQ(wideRow[0x6000 + 4].bytes, "ab");
}

TEST_F(WholeItems, AttachmentsOfEveryMethod)
{
    const std::string large(5'000'000, 'L');
    const auto message = NewMessage();
    const auto add = [&](std::uint32_t method, const auto& fill) {
        const auto attachment = message->AddAttachment();
        Put(*attachment, 0x37050003, Number(method));
        Put(*attachment, 0x3704001F, Wide("short" + std::to_string(method)));
        Put(*attachment, 0x370B0003, Number(method * 10));
        Put(*attachment, 0x3712001F, Wide("content@id"));
        fill(*attachment);
        attachment->Save();
    };
    const auto addInner = [](IWholeAttachment& a) {
        const auto inner = a.AddMessage();
        PutBasics(*inner);
        const auto recipient = inner->AddRecipient();
        Put(*recipient, 0x0C150003, Number(2));
        const auto file = inner->AddAttachment();
        Put(*file, 0x37010102, "inner bytes");
        file->Save();
        inner->Save();
    };
    const auto setObject = [](IWholeAttachment& a, const std::string& bytes) {
        CMemoryStream stream(bytes);
        a.SetObject(stream);
    };
    add(0, [](IWholeAttachment&) {});
    add(1, [&](IWholeAttachment& a) { PutStream(a, 0x37010102, large); });
    for (const std::uint32_t method : {2, 3, 4, 7})
        add(method, [](IWholeAttachment& a) { Put(a, 0x370D001F, Wide("\\\\server\\file")); });
    add(5, addInner);
    add(6, [&](IWholeAttachment& a) { setObject(a, large); });
    // What comes last is what an attachment holds; what does not fit its method changes that.
    add(6, [&](IWholeAttachment& a) {
        addInner(a);
        setObject(a, "storage");
    });
    add(5, [&](IWholeAttachment& a) {
        addInner(a);
        Put(a, 0x37010102, "bytes");
    });
    add(1, [](IWholeAttachment&) {});
    add(5, [](IWholeAttachment&) {});
    message->AddAttachment()->Save();
    message->Save();

    auto finished = Finish();
    const NodeRecord node = finished.NodesOf(NidType::NormalMessage).at(0);
    EXPECT_EQ(finished.Values(node)[pid::kMessageFlags].bytes, Number(0x11));
    const auto attachments = finished.Attachments(node);
    const std::vector<std::uint32_t> methods{0, 1, 2, 3, 4, 7, 5, 6, 6, 1, 1, 0, 0};
    ASSERT_EQ(attachments.size(), methods.size());
    std::vector<StoredValues> values;
    for (std::size_t i = 0; i < methods.size(); ++i) {
        values.push_back(finished.Values(attachments[i]));
        EXPECT_EQ(values[i][pid::kAttachMethod].bytes, Number(methods[i])) << i;
        EXPECT_EQ(values[i][pid::kAttachNumber].bytes, Number(static_cast<std::uint32_t>(i)));
    }
    EXPECT_EQ(values[2][0x370D].bytes, Wide("\\\\server\\file"));
    EXPECT_EQ(values[2][pid::kRenderingPosition].bytes, Number(20));
    EXPECT_EQ(values[2][pid::kAttachContentId].bytes, Wide("content@id"));
    EXPECT_EQ(values[12][pid::kRenderingPosition].bytes, Number(0xFFFFFFFF));
    EXPECT_TRUE(values[1][pid::kAttachDataBinary].bytes == large);
    EXPECT_EQ(values[9][pid::kAttachDataBinary], (Stored{PropertyType::Binary, "bytes"}));
    const NodeRecord inner = finished.Object(attachments[6]);
    EXPECT_EQ(inner.nid.Type(), NidType::NormalMessage);
    EXPECT_EQ(finished.Recipients(inner).at(0)[0x0C15].bytes, Number(2));
    EXPECT_EQ(finished.Values(finished.Attachments(inner).at(0))[pid::kAttachDataBinary].bytes,
              "inner bytes");
    for (const auto& [number, bytes] : {std::pair(7, large), std::pair(8, std::string("storage"))}) {
        const NodeRecord object = finished.Object(attachments[static_cast<std::size_t>(number)]);
        EXPECT_EQ(object.nid.Type(), NidType::OleStream);
        const auto stored = component::pst::CDataTreeReader(finished.Database(), object.data).ReadAll();
        EXPECT_TRUE(std::ranges::equal(stored, AsBytes(bytes)));
    }
}

TEST_F(WholeItems, MessagesInOneAnotherToTheDepthThatIsAllowed)
{
    constexpr int kDeepest = 1000;
    std::vector<CRef<IWholeMessage>> messages{NewMessage()};
    std::vector<CRef<IWholeAttachment>> attachments;
    for (int i = 0; i < kDeepest; ++i) {
        attachments.push_back(messages.back()->AddAttachment());
        messages.push_back(attachments.back()->AddMessage());
        PutBasics(*messages.back());
        Put(*messages.back(), 0x0037001F, Wide("level " + std::to_string(i + 1)));
    }
    const auto tooDeep = messages.back()->AddAttachment();
    EXPECT_EQ(ErrorOf([&] { tooDeep->AddMessage(); }).first, E_INVALIDARG);
    for (int i = kDeepest; i > 0; --i) {
        messages[static_cast<std::size_t>(i)]->Save();
        attachments[static_cast<std::size_t>(i) - 1]->Save();
    }
    messages[0]->Save();

    // Changing the item reads all that it holds again, the sizes and the depth of its attachment.
    const auto item = FindFolder(root, u"Brought")->GetItems()->GetFirst();
    item->SetText(property::Subject, u"changed");
    item->Save();
    auto finished = Finish("message-nesting");
    NodeRecord node = finished.NodesOf(NidType::NormalMessage).at(0);
    for (int i = 0; i < kDeepest; ++i)
        node = finished.Object(finished.Attachments(node).at(0));
    EXPECT_EQ(finished.Values(node)[pid::kSubject].bytes, Wide("level 1000"));
}

TEST_F(WholeItems, AssociatedMessagesStandInTheirOwnTable)
{
    NewMessage(false, 0)->Save();
    const auto read = NewMessage(true, 0x49);
    Put(*read, 0x7006001F, Wide("a view"));
    Put(*read, 0x68420102, std::string(100'000, 'r'));
    read->Save();
    NewMessage(true, 0)->Save();
    EXPECT_EQ(FindFolder(root, u"Brought")->GetItems()->GetCount(), 1);

    auto finished = Finish();
    const NodeRecord brought = finished.Folder("Brought");
    auto values = finished.Values(brought);
    EXPECT_EQ(values[pid::kContentCount].bytes, Number(1));
    EXPECT_EQ(values[pid::kContentUnreadCount].bytes, Number(1));
    EXPECT_EQ(values[kHiddenCount].bytes, Number(2));
    EXPECT_EQ(values[kHiddenUnread].bytes, Number(1));
    auto table = finished.Table(brought.nid, NidType::AssociatedContentsTable);
    const auto messages = finished.NodesOf(NidType::AssociatedMessage);
    ASSERT_EQ(messages.size(), 2u);
    ASSERT_EQ(table.RowCount(), 2u);
    EXPECT_EQ(table.RowIdAt(0), messages[0].nid.value);
    EXPECT_EQ(StoredOf(table.Cell(0, 0x7006).value()).bytes, Wide("a view"));
    EXPECT_EQ(finished.Values(messages[0])[0x6842].bytes, std::string(100'000, 'r'));
    EXPECT_EQ(finished.Values(messages[1])[pid::kMessageFlags].bytes, Number(0x40));
    EXPECT_EQ(messages[1].parent, brought.nid);
    Reopen();
    EXPECT_EQ(FindFolder(root, u"Brought")->GetItems()->GetCount(), 1);
}

TEST_F(WholeItems, FolderPropertiesOutliveWhatTheStoreWritesLater)
{
    const auto long16 = Wide(std::string(20'000, 'c'));
    EXPECT_TRUE(Put(*wholeFolder, 0x3004001F, long16));
    EXPECT_TRUE(Put(*wholeFolder, 0x36DA0102, "flags"));
    EXPECT_TRUE(PutStream(*wholeFolder, 0x3613001F, Wide("IPF.Appointment")));
    const std::string large(9'000'000, 'x');
    for (int i = 0; i < 4; ++i) {  // each more than what may be lost, so that checkpoints come between
        const auto message = NewMessage();
        EXPECT_TRUE(PutStream(*message, 0x60000102, large));
        message->Save();
    }
    EXPECT_TRUE(Put(*wholeFolder, 0x36DA0102, "later"));
    EXPECT_EQ(FindFolder(root, u"Brought")->GetContainerClass(), u"IPF.Appointment");
    AddFolder(FindFolder(root, u"Brought"), u"Child");

    auto finished = Finish();
    const NodeRecord brought = finished.Folder("Brought");
    auto values = finished.Values(brought);
    EXPECT_EQ(values[0x3004].bytes, long16);
    EXPECT_EQ(values[0x36DA].bytes, "later");
    EXPECT_EQ(values[pid::kContainerClass].bytes, Wide("IPF.Appointment"));
    EXPECT_EQ(values[pid::kContentCount].bytes, Number(4));
    auto rows = finished.Table(brought.parent, NidType::HierarchyTable);
    const auto row = rows.FindRow(brought.nid.value);
    EXPECT_EQ(StoredOf(rows.Cell(row.value(), pid::kContainerClass).value()).bytes, Wide("IPF.Appointment"));
}

TEST_F(WholeItems, InterruptedStoresHaveWhatWasSavedBefore)
{
    EXPECT_TRUE(Put(*wholeFolder, 0x36DA0102, "flags"));
    const std::string large(3'000'000, 'x');
    const auto unfinished = NewMessage();
    for (int i = 0; i < 8; ++i) {
        const auto message = NewMessage(i % 2 == 1, i % 2 == 1 ? 0x41 : 1);
        const auto attachment = (i == 4 ? unfinished : message)->AddAttachment();
        EXPECT_TRUE(PutStream(*attachment, 0x37010102, large));
        attachment->Save();
        message->Save();
    }
    const auto killed = folder / "killed.pst";
    std::filesystem::copy_file(StorePath(), killed);
    component::pst::CPstStore::CompleteIfInterrupted(files, killed);
    const auto source = files.OpenSource(killed);
    EXPECT_EQ(CheckedStore(*source).text, "");
    CFinishedStore finished(files.OpenSource(killed));
    const auto saved = finished.NodesOf(NidType::NormalMessage).size();
    EXPECT_GE(saved, 3u);
    EXPECT_LE(saved, 4u) << "the fifth was never saved";
    EXPECT_GE(finished.NodesOf(NidType::AssociatedMessage).size(), 3u);
    EXPECT_EQ(finished.Values(finished.Folder("Brought"))[0x36DA].bytes, "flags");
}

TEST_F(WholeItems, ItemsChangedLaterKeepTheirRecipients)
{
    const auto message = NewMessage();
    const auto recipient = message->AddRecipient();
    Put(*recipient, 0x0C150003, Number(3));
    Put(*recipient, 0x39FE001F, Wide("someone@host"));
    Put(*recipient, 0x60000102, std::string(9000, 'b'));
    message->Save();
    const auto item = FindFolder(root, u"Brought")->GetItems()->GetFirst();
    item->SetText(property::Subject, u"changed");
    item->Save();
    auto finished = Finish();
    auto rows = finished.Recipients(finished.NodesOf(NidType::NormalMessage).at(0));
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][0x39FE].bytes, Wide("someone@host"));
    EXPECT_EQ(rows[0][0x6000].bytes, std::string(9000, 'b'));
}

TEST_F(WholeItems, MessagesGetWhatEveryMessageHas)
{
    const auto timed = wholeFolder->AddMessage(false);
    Put(*timed, 0x0E060040, "delivery");
    timed->Save();
    wholeFolder->AddMessage(true)->Save();
    store->Commit();
    const auto source = files.OpenSource(StorePath());
    EXPECT_EQ(CheckedStore(*source).errors, "");
    CFinishedStore finished(files.OpenSource(StorePath()));
    auto values = finished.Values(finished.NodesOf(NidType::NormalMessage).at(0));
    EXPECT_EQ(values[pid::kCreationTime].bytes, "delivery");
    EXPECT_EQ(values[pid::kLastModificationTime].bytes, "delivery");
    EXPECT_EQ(values[pid::kMessageClass].bytes, Wide("IPM.Note"));
}

TEST_F(WholeItems, OtherProgramsReadThem)
{
    const auto message = NewMessage();
    Put(*message, 0x001A001F, Wide("IPM.Note"));
    Put(*message, 0x0037001F, Wide("Brought over"));
    Put(*message, 0x1000001F, Wide("A body"));
    const auto recipient = message->AddRecipient();
    Put(*recipient, 0x0C150003, Number(1));
    Put(*recipient, 0x3001001F, Wide("Someone"));
    Put(*recipient, 0x39FE001F, Wide("someone@host"));
    for (int i = 0; i < 3; ++i) {
        const auto attachment = message->AddAttachment();
        Put(*attachment, 0x3704001F, Wide("file.txt"));
        if (i == 0)
            Put(*attachment, 0x37010102, "the bytes");
        if (i == 1) {
            CMemoryStream storage(std::string(10'000, 'o'));
            attachment->SetObject(storage);
        }
        if (i == 2) {
            const auto inner = attachment->AddMessage();
            PutBasics(*inner);
            Put(*inner, 0x0037001F, Wide("Inner"));
            inner->Save();
        }
        attachment->Save();
    }
    message->Save();
    NewMessage(true, 0x41)->Save();
    Finish();

    const auto counted = CountWithReadpst(StorePath());
    if (counted) {
        EXPECT_EQ(counted->messages, 1u);
    }
    const auto items = ReadItemsWithPffexport(StorePath());
    if (items) {
        ASSERT_EQ(items->size(), 1u);
        const FoundItem& item = items->front();
        EXPECT_EQ(TextValue(item.values, pid::kSubject), u"Brought over");
        ASSERT_EQ(item.attachments.size(), 3u);
    }
    EXPECT_TRUE(counted || items) << "no other reader is installed";
}

}  // namespace
}  // namespace pastille::tests::whole
