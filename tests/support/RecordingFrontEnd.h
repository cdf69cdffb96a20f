#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/Messages.h"
#include "platform/Text.h"

namespace pastille::tests {

/// Shows nothing and remembers everything.
class CRecordingFrontEnd final : public platform::IFrontEnd {
public:
    void Send(const platform::Message& message) override
    {
        std::visit([this](const auto& one) { Take(one); }, message);
        if (onMessage)
            onMessage(message);
    }

    /// Phase numbers in order, as "1 2 3"; "c" marks the closing step.
    const std::string& Phases() const { return m_phases; }
    /// Boxes as "caption: text", one a line.
    const std::string& Boxes() const { return m_boxes; }

    std::vector<platform::PercentMessage> percents;
    std::vector<platform::FolderMessage> folders;
    std::vector<platform::ListCellMessage> cells;
    int completions = 0;
    int ends = 0;
    std::function<void(unsigned)> onPhase;  ///< called when a phase, not the closing step, begins
    std::function<void(const platform::Message&)> onMessage;

private:
    void Take(const platform::PhaseMessage& message)
    {
        m_phases +=
            (m_phases.empty() ? "" : " ") + std::to_string(message.phase) + (message.closing ? "c" : "");
        if (onPhase && !message.closing)
            onPhase(message.phase);
    }
    void Take(const platform::PercentMessage& message) { percents.push_back(message); }
    void Take(const platform::FolderMessage& message) { folders.push_back(message); }
    void Take(const platform::ListCellMessage& message) { cells.push_back(message); }
    void Take(const platform::BoxMessage& message)
    {
        m_boxes += (m_boxes.empty() ? "" : "\n") + platform::ToUtf8(message.caption) + ": " +
                   platform::ToUtf8(message.text);
    }
    void Take(const platform::CompletionMessage&) { ++completions; }
    void Take(const platform::RunEndedMessage&) { ++ends; }
    void Take(const platform::CloseProgressMessage&) {}
    void Take(const platform::ClearListMessage&) {}

    std::string m_phases;
    std::string m_boxes;
};

}  // namespace pastille::tests
