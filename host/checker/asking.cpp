#include "checker/asking.h"

#include "checker/plugin.h"
#include "velconfd_host.h"

#include <algorithm>
#include <iostream>

namespace host
{
namespace
{

/** Tells the listener of requests by their number in the plan. */
class NumberingObserver : public engine::Observer
{
public:
    NumberingObserver(const std::vector<engine::Request> &requests, AskingListener &listener)
        : m_first(requests.data()), m_listener(listener)
    {
    }

    void before(const engine::Request &request) override { m_listener.before(number(request)); }
    void after(const engine::Request &request, const engine::Answer &answer) override
    {
        m_listener.after(number(request), answer);
    }

private:
    std::size_t number(const engine::Request &request) const
    {
        return static_cast<std::size_t>(&request - m_first);
    }

    const engine::Request *m_first;
    AskingListener &m_listener;
};

/** A plug-in that serves another point would be asked nothing, and every change accepted. */
void require_known(const std::string &point, const engine::Schema &schema,
                   const std::string &plugin)
{
    const auto &points = schema.points();
    const bool known = std::any_of(points.begin(), points.end(), [&](const auto &known_point) {
        return known_point.name == point;
    });
    if (!known) {
        const std::string wanted = points.empty() ? "none" : "\"" + points.front().name + "\"";
        throw engine::InputError({{plugin, 0, "",
                                   "the plug-in serves the validation point \"" + point +
                                       "\", which the data model does not have",
                                   "the data model's is " + wanted}});
    }
}

void ask(const Questions &questions, AskingListener &listener)
{
    listener.step(Step::kLoad);
    Plugin plugin(questions.plugin);
    listener.step(Step::kInit);
    plugin.init();
    listener.step(Step::kName);
    const std::string point = plugin.validation_point();
    require_known(point, questions.transaction.candidate().schema(), plugin.name());

    listener.step(Step::kValidate);
    velconfd::Context context;
    NumberingObserver observer(questions.requests, listener);
    const auto callback = [&plugin](confd_trans_ctx *transaction, confd_hkeypath_t *keypath,
                                    confd_value_t *value) {
        return plugin.validate(transaction, keypath, value);
    };
    engine::validate(questions.transaction, questions.requests, point, callback, context.word(),
                     questions.all, observer);

    listener.step(Step::kFinish);
    if (const int result = plugin.finish(); result != 0) {
        // All answers are in: they count.
        std::cerr << plugin.name() << ": lib_finish answered " << result << '\n';
    }
}

} // namespace

void ask_plugin(const Questions &questions, AskingListener &listener)
{
    try {
        ask(questions, listener);
    } catch (const engine::InputError &failure) {
        listener.unusable(failure.problems());
    } catch (const PluginThrew &failure) {
        listener.threw(failure.what());
        return;
    }
    listener.ended();
}

} // namespace host
