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
        messages.push_back(message);
        const auto* const begun = std::get_if<platform::PhaseMessage>(&message);
        if (begun != nullptr && onPhase && !begun->closing)
            onPhase(begun->phase);
        completions += std::holds_alternative<platform::CompletionMessage>(message) ? 1 : 0;
        if (onMessage)
            onMessage(message);
    }

    template <class Kind>
    std::vector<Kind> All() const
    {
        std::vector<Kind> found;
        for (const auto& message : messages) {
            if (const auto* kind = std::get_if<Kind>(&message))
                found.push_back(*kind);
        }
        return found;
    }
    /// Phase numbers in order, as "1 2 3"; "c" marks the closing step.
    std::string Phases() const
    {
        std::string phases;
        for (const auto& begun : All<platform::PhaseMessage>())
            phases += (phases.empty() ? "" : " ") + std::to_string(begun.phase) + (begun.closing ? "c" : "");
        return phases;
    }
    /// Boxes as "caption: text", one a line.
    std::string Boxes() const
    {
        std::string boxes;
        for (const auto& box : All<platform::BoxMessage>())
            boxes += (boxes.empty() ? "" : "\n") + platform::ToUtf8(box.caption + u": " + box.text);
        return boxes;
    }
    std::vector<std::u16string> BoxTexts() const
    {
        std::vector<std::u16string> texts;
        for (const auto& box : All<platform::BoxMessage>())
            texts.push_back(box.text);
        return texts;
    }
    /// The cells of the live list, as "1:text".
    std::vector<std::string> Cells() const
    {
        std::vector<std::string> cells;
        for (const auto& cell : All<platform::ListCellMessage>())
            cells.push_back(std::to_string(cell.cell) + ":" + platform::ToUtf8(cell.text));
        return cells;
    }
    /// Percentages sent while that phase went on.
    std::vector<unsigned> Percentages(unsigned phase) const
    {
        std::vector<unsigned> percentages;
        unsigned current = 0;
        for (const auto& message : messages) {
            if (const auto* begun = std::get_if<platform::PhaseMessage>(&message))
                current = begun->closing ? 0 : begun->phase;
            const auto* percent = std::get_if<platform::PercentMessage>(&message);
            if (percent != nullptr && current == phase)
                percentages.push_back(percent->percent);
        }
        return percentages;
    }

    std::vector<platform::Message> messages;
    int completions = 0;
    std::function<void(unsigned)> onPhase;  ///< called when a phase, not the closing step, begins
    std::function<void(const platform::Message&)> onMessage;
};

}  // namespace pastille::tests
