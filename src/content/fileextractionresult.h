#pragma once

#include <QString>
#include <variant>

#include "content/aianalyzeinput.h"

namespace Nomly {

// What extracting one path gave: an input, a failure with a reason the user
// reads, or a file of a type that cannot be analysed.
class FileExtractionResult
{
public:
    enum class Kind
    {
        Input,
        Failed,
        Unsupported,
    };

    static FileExtractionResult input(AIAnalyzeInput input) { return FileExtractionResult(std::move(input)); }

    static FileExtractionResult failed(QString reason) { return FileExtractionResult(Failure { std::move(reason) }); }

    static FileExtractionResult unsupported() { return FileExtractionResult(std::monostate {}); }

    Kind kind() const { return static_cast<Kind>(m_value.index()); }

    // The input when kind() is Input, else null.
    const AIAnalyzeInput *analyzeInput() const { return std::get_if<AIAnalyzeInput>(&m_value); }

    // The reason when kind() is Failed, else empty.
    QString failureReason() const
    {
        const auto *failure = std::get_if<Failure>(&m_value);
        return failure ? failure->reason : QString();
    }

    bool operator==(const FileExtractionResult &) const = default;

private:
    struct Failure
    {
        QString reason;

        bool operator==(const Failure &) const = default;
    };

    // Alternatives in the order of Kind.
    using Value = std::variant<AIAnalyzeInput, Failure, std::monostate>;

    explicit FileExtractionResult(Value value)
        : m_value(std::move(value))
    {}

    Value m_value;
};

} // namespace Nomly
