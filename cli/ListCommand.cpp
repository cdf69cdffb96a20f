#include "cli/ListCommand.h"

#include "cli/ListReport.h"
#include "cli/RunOptions.h"
#include "cli/TerminalText.h"
#include "platform/FileSystem.h"
#include "platform/Text.h"
#include "writer/FolderWalk.h"
#include "writer/OleDate.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <utility>

namespace pastille::cli {
namespace {

using writer::_com_error;
using writer::CRef;
using writer::IMessageItem;
using writer::IMessageStore;
using writer::IStoreFolder;
namespace property = writer::property;

/// More of them say nothing new, and a hostile store has any number.
constexpr std::size_t kMostMessages = 1000;

std::optional<double> DateOrNone(double date)
{
    return date == writer::kNoDate ? std::nullopt : std::optional(date);
}

/// One listing: what is read goes to the report, what cannot be read to the messages.
class CListing {
public:
    CListing(CommandContext& context, IListReport& report, IListReport::Store store)
        : m_context(context), m_report(report), m_store(std::move(store))
    {
    }

    ExitStatus Run(const std::string& codePage)
    {
        const auto store = Open(codePage);
        if (!store)
            return End(ExitStatus::Usage);
        for (const std::string& fault : store->GetOpeningFaults())
            Tell(fault + ".");
        if (m_store.folder)
            return ListItems(store->GetRootFolder());
        m_report.Begin(m_store);
        ListFolders(store->GetRootFolder());
        return End(m_told == 0 ? ExitStatus::Done : ExitStatus::Failed);
    }

private:
    CRef<IMessageStore> Open(const std::string& codePage)
    {
        try {
            auto store = m_context.component.CreateSession()->GetStores()->OpenPstStore(
                platform::PathOfBytes(m_store.path), platform::FromUtf8(codePage));
            m_store.name = platform::ToUtf8(store->GetDisplayName());
            return store;
        } catch (const _com_error& error) {
            if (error.Error() == writer::E_NOT_FOUND)
                Tell("There is no file that can be opened, or it has no folders: " + m_store.path);
            else
                Tell("The file is not a store that can be read: " + m_store.path + ": " + error.what());
        }
        m_report.Begin(m_store);
        return {};
    }

    void ListFolders(const CRef<IStoreFolder>& top)
    {
        writer::CFolderWalk walk(top, [this](const std::string& message) { Tell(message); });
        while (const auto place = walk.Next([](const std::u16string&) { return true; })) {
            ListedFolder folder;
            folder.path = writer::PathText(place->path);
            folder.folders = place->folders;
            try {
                folder.name = platform::ToUtf8(place->folder->GetName());
                folder.containerClass = platform::ToUtf8(place->folder->GetContainerClass());
                folder.unread = place->folder->GetUnreadCount();
                folder.items = place->folder->GetItems()->GetCount();
            } catch (const _com_error& error) {
                Tell("The folder " + folder.path + " cannot be read: " + error.what());
            }
            m_report.Add(folder);
            if (!m_context.out)
                return;
        }
    }

    /// The folder of the path asked for, as it is or as it is shown.
    CRef<IStoreFolder> Find(const CRef<IStoreFolder>& top)
    {
        std::string wanted = *m_store.folder;
        if (!wanted.starts_with('\\'))
            wanted.insert(0, 1, '\\');
        const auto matches = [&](const std::u16string& path, auto&& compare) {
            const std::string text = platform::ToUtf8(path);
            return compare(text) || compare(Printable(text, LineBreaks::Escape));
        };
        writer::CFolderWalk walk(top, [this](const std::string& message) { Tell(message); });
        while (const auto place = walk.Next([&](const std::u16string& path) {
            return matches(path, [&](const std::string& text) { return wanted.starts_with(text + "\\"); });
        })) {
            if (matches(place->path,
                        [&](const std::string& text) { return wanted == (text.empty() ? "\\" : text); })) {
                m_store.folder = writer::PathText(place->path);
                return place->folder;
            }
        }
        return {};
    }

    ExitStatus ListItems(const CRef<IStoreFolder>& top)
    {
        const auto folder = Find(top);
        if (!folder) {
            m_store.name.reset();
            m_report.Begin(m_store);
            Tell("The store has no such folder: " + *m_store.folder);
            return End(ExitStatus::Usage);
        }
        m_report.Begin(m_store);
        try {
            const auto items = folder->GetItems();
            const std::int32_t count = items->GetCount();
            for (std::int32_t number = 1; number <= count && m_context.out; ++number)
                m_report.Add(ReadItem(*items, number));
        } catch (const _com_error& error) {
            Tell(std::string("The items of the folder cannot be read: ") + error.what());
        }
        if (m_unreadable != 0)
            Tell(std::to_string(m_unreadable) + " item(s) cannot be read in whole.");
        return End(m_told == 0 ? ExitStatus::Done : ExitStatus::Failed);
    }

    ListedItem ReadItem(writer::IItemList& items, std::int32_t number)
    {
        ListedItem listed;
        try {
            const auto item = items.GetItem(number);
            ReadTexts(*item.operator->(), listed);
            listed.delivered = DateOrNone(item->GetDate(property::DeliveryTime));
            listed.submitted = DateOrNone(item->GetDate(property::SubmitTime));
            listed.unread = item->GetFlag(property::UnRead) != 0;
            listed.size = item->GetNumber(property::MessageSize);
            listed.attachments = CountAttachments(*item.operator->());
        } catch (const _com_error& error) {
            ++m_unreadable;
            listed = {};
            listed.fault = error.what();
        }
        listed.number = number;
        return listed;
    }

    static void ReadTexts(IMessageItem& item, ListedItem& listed)
    {
        const auto text = [&](const writer::ItemProperty& which) {
            return platform::ToUtf8(item.GetText(which));
        };
        listed.messageClass = platform::ToUtf8(item.GetMessageClass());
        listed.from = text(property::SentRepresentingName);
        listed.sender = text(property::SenderName);
        listed.to = text(property::DisplayTo);
        listed.subject = text(property::Subject);
    }

    std::optional<std::int32_t> CountAttachments(IMessageItem& item)
    {
        try {
            return item.GetAttachments()->GetCount();
        } catch (const _com_error&) {
            ++m_unreadable;
            return std::nullopt;
        }
    }

    void Tell(const std::string& message)
    {
        if (++m_told > kMostMessages)
            return;
        m_messages.push_back(message);
        m_context.err << "Error: " << Printable(message, LineBreaks::Escape) << std::endl;
    }

    ExitStatus End(ExitStatus status)
    {
        if (m_told > kMostMessages)
            m_messages.push_back("... and " + std::to_string(m_told - kMostMessages) + " more.");
        m_report.End(status == ExitStatus::Done ? "done" : "failed", m_messages);
        return StatusOfOutput(m_context, status);
    }

    CommandContext& m_context;
    IListReport& m_report;
    IListReport::Store m_store;
    std::vector<std::string> m_messages;
    std::size_t m_told = 0;
    std::size_t m_unreadable = 0;
};

}  // namespace

void CListCommand::Declare(CLI::App& program)
{
    m_command = program.add_subcommand("list", "Show the folders of a store, or the items of one of them");
    m_command->add_option("STORE", m_store, "A PST or OST file; it is only read")
        ->required()
        ->check(RefuseEmpty);
    m_command
        ->add_option("--folder", m_folder,
                     "Show the items of this folder, named as the list of folders has it")
        ->option_text("PATH");
    m_command
        ->add_option("--code-page", m_codePage,
                     "Code page of 8-bit texts that state none (" + m_codePage + ")")
        ->check(RefuseUnknownCodePage)
        ->option_text("NAME");
    m_command->add_flag("--json", m_json, "Print the result as one JSON object");
}

bool CListCommand::IsChosen() const
{
    return m_command != nullptr && m_command->parsed();
}

ExitStatus CListCommand::Execute(CommandContext& context)
{
    const auto report = m_json ? MakeListJson(context.out) : MakeListText(context.out);
    IListReport::Store store{platform::PathBytes(platform::WholePath(platform::PathOfBytes(m_store))),
                             std::nullopt, m_folder};
    return CListing(context, *report, std::move(store)).Run(m_codePage);
}

}  // namespace pastille::cli
