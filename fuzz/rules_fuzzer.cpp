/**
 * Rules against plain, slow versions of themselves: on cards that the bytes make up, verdict and
 * text must be the same.
 */
#include "checker/model_schema.h"
#include "engine/data/yang_check.h"
#include "engine/session/framework.h"
#include "engine/session/validation.h"
#include "finding.h"
#include "gpon_card_valid.h"
#include "trial.h"

#include <velconfd_host.h>

#include <algorithm>
#include <sstream>

namespace
{

using engine::Datastore;
using fuzz::Trial;
using fuzz::Verdict;

using MakeTrial = Trial (*)(fuzz::ByteReader &);
constexpr std::array<MakeTrial, 8> kTrials{
    fuzz::try_onu_credentials,     fuzz::try_management_gateway, fuzz::try_ssids,
    fuzz::try_interface_groupings, fuzz::try_service_ports,      fuzz::try_vlan_matches,
    fuzz::try_pon_link_bandwidth,  fuzz::try_card_bandwidth};

std::string described(const Verdict &verdict)
{
    return std::to_string(verdict.result) + " \"" + verdict.text + "\"";
}

/** Compares each answer with those that are allowed. */
class Judge : public engine::Observer
{
public:
    Judge(const Trial &trial, const std::vector<engine::Request> &requests)
        : m_trial(trial), m_requests(requests)
    {
    }

    void after(std::size_t index, const engine::Answer &answer) override
    {
        const engine::Request &request = m_requests[index];
        const Verdict given{answer.result, answer.text};
        const auto allowed = m_trial.allowed.find(engine::path_of(request));
        fuzz::require(allowed != m_trial.allowed.end(), m_trial.rule + " was asked about " +
                                                            engine::path_of(request) + "\n" +
                                                            m_trial.card);
        const auto &verdicts = allowed->second;
        if (std::find(verdicts.begin(), verdicts.end(), given) != verdicts.end()) {
            return;
        }
        std::ostringstream text;
        text << m_trial.rule << " about " << allowed->first << "\nanswered  " << described(given);
        for (const Verdict &verdict : verdicts) {
            text << "\nallowed   " << described(verdict);
        }
        fuzz::report(text.str() + "\n" + m_trial.card);
    }

private:
    const Trial &m_trial;
    const std::vector<engine::Request> &m_requests;
};

const Datastore &empty_configuration()
{
    static const Datastore empty = [] {
        Datastore tree(host::model_schema());
        engine::check_yang(tree, "empty configuration");
        return tree;
    }();
    return empty;
}

Datastore card_of(const Trial &trial)
{
    const engine::Source source{"card.xml",
                                "<config xmlns=\"urn:olt:gpon:base\">" + trial.card + "</config>"};
    try {
        Datastore card = Datastore::parse(host::model_schema(), source);
        engine::check_yang(card, source);
        return card;
    } catch (const engine::InputError &failure) {
        // The trials keep to the model: a card that is refused would test nothing.
        fuzz::report(std::string("the card is refused: ") + failure.what() + "\n" + trial.card);
    }
}

void ask(const Trial &trial)
{
    engine::Framework framework(empty_configuration().copy());
    const auto &transaction = framework.begin(card_of(trial));
    auto requests = engine::plan(transaction);
    requests.erase(std::remove_if(requests.begin(), requests.end(),
                                  [&trial](const engine::Request &request) {
                                      return request.point->opaque != trial.rule;
                                  }),
                   requests.end());
    fuzz::require(requests.size() == trial.allowed.size(),
                  trial.rule + " is asked about another number of places\n" + trial.card);
    velconfd::Context context;
    Judge judge(trial, requests);
    engine::validate(transaction, requests, "gpon_validation_check", validate, context.word(), true,
                     judge);
    framework.end(transaction.handle());
    fuzz::require(engine::Hooks::instance().held.none(), trial.rule + " holds something");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::ByteReader bytes(data, size);
    ask(bytes.pick(kTrials)(bytes));
    return 0;
}
