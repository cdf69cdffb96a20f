#include "tests/support/StoreFindings.h"

#include "check/Check.h"
#include "check/Database.h"

namespace pastille::tests {
namespace {

constexpr std::size_t kLongestText = 4000;

}  // namespace

void CStoreFindings::Add(const check::Rule& rule, std::string place, std::string detail)
{
    const bool isError = rule.severity == check::Severity::Error;
    codes.insert(rule.code + std::string(isError ? "" : "?"));
    const std::string line = std::string(rule.code) + " | " + place + " | " + detail + "\n";
    if (text.size() < kLongestText)
        text += line;
    if (isError && errors.size() < kLongestText)
        errors += line;
}

CStoreFindings CheckedStore(platform::IByteSource& store)
{
    CStoreFindings findings;
    if (!check::CheckStore(store, findings))
        findings.codes.insert("(no store)");
    return findings;
}

std::string DatabaseErrors(platform::IByteSource& store)
{
    CStoreFindings findings;
    check::CDatabase database(store, findings);
    if (!database.Open())
        return "(no store)\n" + findings.errors;
    database.CheckReferences();
    return findings.errors;
}

}  // namespace pastille::tests
