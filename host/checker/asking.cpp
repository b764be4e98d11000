#include "checker/asking.h"

#include "checker/plugin.h"
#include "velconfd_host.h"

#include <algorithm>
#include <iostream>

namespace host
{
namespace
{

/** A plug-in that serves another point would be asked nothing, and every change accepted. */
void require_served(const std::string &point, const engine::Schema &schema,
                    const std::string &plugin)
{
    for (const auto &known : schema.points()) {
        if (known.name != point) {
            throw engine::InputError({{engine::Fault::kUnusablePlugin, plugin, 0, "",
                                       "the plug-in serves the validation point \"" + point +
                                           "\", but the data model has \"" + known.name + "\"",
                                       ""}});
        }
    }
}

/** What the plug-in left open in a transaction is released before its library goes. */
class OpenSession
{
public:
    explicit OpenSession(const engine::Transaction &transaction)
        : m_transaction(engine::Framework::current().transaction(transaction.handle()))
    {
    }
    ~OpenSession() { m_transaction.drop_resources(); }
    OpenSession(const OpenSession &) = delete;
    OpenSession &operator=(const OpenSession &) = delete;

private:
    engine::Transaction &m_transaction;
};

void ask_all(Plugin &plugin, const std::string &point, const Questions &questions,
             AskingListener &listener)
{
    const OpenSession session(questions.transaction);
    velconfd::Context context;
    const auto callback = [&plugin](confd_trans_ctx *transaction, confd_hkeypath_t *keypath,
                                    confd_value_t *value) {
        return plugin.validate(transaction, keypath, value);
    };
    engine::validate(questions.transaction, questions.requests, point, callback, context.word(),
                     questions.all, listener);
}

void ask(const Questions &first, AskingListener &listener, const NextQuestions &next)
{
    // Each check finds the keys as the plug-in's start leaves them, not as another check did.
    bool &has_keys = engine::Framework::current().crypto_keys_installed;
    has_keys = false;
    listener.step(Step::kLoad);
    Plugin plugin(first.plugin);
    listener.step(Step::kInit);
    plugin.init();
    listener.step(Step::kName);
    const std::string point = plugin.validation_point();
    require_served(point, first.transaction.candidate().schema(), plugin.name());

    const bool has_keys_from_start = has_keys;
    listener.step(Step::kValidate);
    for (const Questions *questions = &first; questions != nullptr; questions = next()) {
        has_keys = has_keys_from_start;
        ask_all(plugin, point, *questions, listener);
    }

    listener.step(Step::kFinish);
    if (const int result = plugin.finish(); result != 0) {
        // All answers are in: they count.
        std::cerr << "the plug-in's lib_finish answered " << result << '\n';
    }
}

} // namespace

void ask_plugin(const Questions &questions, AskingListener &listener, const NextQuestions &next)
{
    try {
        ask(questions, listener, next);
    } catch (const engine::InputError &failure) {
        listener.unusable(failure.problems());
    } catch (const PluginThrew &failure) {
        listener.threw(failure.what());
        return;
    } catch (const std::exception &failure) {
        listener.unusable(problems_of(failure));
    }
    listener.ended();
}

} // namespace host
