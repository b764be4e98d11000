#include "fleet/merge.h"

#include "fleet/problem_list.h"

#include <optional>
#include <unordered_map>

namespace host
{
namespace
{

using engine::Fault;

class Merge
{
public:
    Merge(const CardList &list, std::vector<ResultReader> &parts)
        : m_list(list), m_parts(parts), m_found(list.cards.size())
    {
        for (std::size_t i = 0; i < list.cards.size(); ++i) {
            m_numbers.emplace(list.cards[i].name, i);
        }
    }

    std::vector<PartResult> run()
    {
        for (std::size_t part = 0; part < m_parts.size(); ++part) {
            read(part);
        }
        std::vector<PartResult> results;
        results.reserve(m_found.size());
        for (std::size_t i = 0; i < m_found.size(); ++i) {
            const FleetCard &card = m_list.cards[i];
            if (m_found[i]) {
                results.push_back(*m_found[i]);
            } else {
                m_problems.add({Fault::kIncomplete, m_list.source, card.line, "",
                                "no part has a result of the card " + card.name, ""});
            }
        }
        m_problems.throw_if_any();
        return results;
    }

private:
    void read(std::size_t part);
    void take(const std::string &name, const PartResult &result);

    const CardList &m_list;
    std::vector<ResultReader> &m_parts;
    std::unordered_map<std::string, std::size_t> m_numbers;
    std::vector<std::optional<PartResult>> m_found;
    ProblemList m_problems;
};

void Merge::read(std::size_t part)
{
    ResultReader &reader = m_parts[part];
    unsigned lines = 0;
    const auto whole = reader.read_all([&](const std::string &name, const StoredResult &result) {
        lines = result.line;
        take(name, {part, result});
    });
    if (whole != reader.size()) {
        m_problems.add({Fault::kMalformed, reader.path(), lines + 1, "", "this line has no end",
                        "its run was ended: go on with it by --resume"});
    }
}

void Merge::take(const std::string &name, const PartResult &result)
{
    const std::string &path = m_parts[result.part].path();
    const auto number = m_numbers.find(name);
    if (number == m_numbers.end()) {
        m_problems.add({Fault::kUnknownNode, path, result.result.line, "",
                        "the card " + name + " is not in " + m_list.source, ""});
        return;
    }
    auto &found = m_found[number->second];
    if (found) {
        m_problems.add({Fault::kDuplicate, path, result.result.line, "",
                        "a result of the card " + name + " is also in " +
                            m_parts[found->part].path() + ":" + std::to_string(found->result.line),
                        ""});
        return;
    }
    found = result;
}

} // namespace

std::vector<PartResult> merge_results(const CardList &list, std::vector<ResultReader> &parts)
{
    return Merge(list, parts).run();
}

} // namespace host
