#include "full_card.h"

#include "card_generator.h"
#include "edit.h"
#include "model_schema.h"
#include "tree_writer.h"

#include <benchmark/benchmark.h>
#include <fm_host.h>

#include <sstream>

namespace bench
{
namespace
{

constexpr host::CardShape kShape{.links = 16,
                                 .onus = 128,
                                 .line_profiles = 512,
                                 .bandwidth_profiles = 64,
                                 .service_ports = 4096,
                                 .rg_profiles = 16,
                                 .seed = 1};

engine::Source generate(const engine::Schema &schema)
{
    std::ostringstream xml;
    host::XmlWriter writer(xml, schema.module()->ns);
    host::CardGenerator(kShape, writer).write();
    return {"full-card.xml", xml.str()};
}

/** Name of a line profile that ONU 5 of link 1/1/3 does not have yet. */
std::string other_line_profile(const engine::Datastore &running)
{
    lyd_node *reference = nullptr;
    const auto find = [&](const char *path) {
        return lyd_find_path(running.root(), path, 0, &reference) == LY_SUCCESS;
    };
    find("/base:config/interface/gpon[chassis-id='1'][slot-id='1'][port-id='3']/onu[onu-id='5']"
         "/profile-references/line-profile");
    const std::string present = lyd_get_value(reference);
    find("/base:config/profile/gpon");
    const lyd_node *child = nullptr;
    LY_LIST_FOR(lyd_child(reference), child)
    {
        const std::string name = lyd_get_value(lyd_child(child));
        if (std::string(child->schema->name) == "line-profile" && name != present) {
            return name;
        }
    }
    throw std::logic_error("the card has only one line profile");
}

engine::Source everyday_edit(const engine::Datastore &running)
{
    const std::string ns = running.schema().module()->ns;
    return {"everyday.xml",
            "<config xmlns=\"" + ns +
                "\"><interface><gpon><chassis-id>1</chassis-id><slot-id>1</slot-id>"
                "<port-id>3</port-id><onu><onu-id>5</onu-id><profile-references><line-profile>" +
                other_line_profile(running) +
                "</line-profile></profile-references></onu></gpon></interface></config>"};
}

FullCard make_full_card()
{
    auto schema = host::load_schema();
    engine::Source text = generate(*schema);
    auto running = engine::Datastore::parse(schema, text);
    running.check(text.name);
    engine::Source everyday = everyday_edit(running);
    return {std::move(text), std::move(everyday), std::move(running)};
}

engine::Datastore candidate()
{
    const FullCard &card = FullCard::instance();
    auto result = engine::apply_edit(card.running, card.everyday);
    result.check(card.everyday.name);
    return result;
}

void parse_with_libyang_alone(benchmark::State &state)
{
    const FullCard &card = FullCard::instance();
    for (auto _ : state) {
        lyd_node *tree = nullptr;
        lyd_parse_data_mem(card.running.schema().context(), card.text.text.c_str(), LYD_XML,
                           LYD_PARSE_STRICT | LYD_PARSE_ONLY, 0, &tree);
        state.PauseTiming();
        lyd_free_all(tree);
        state.ResumeTiming();
    }
}
BENCHMARK(parse_with_libyang_alone)->Unit(benchmark::kMillisecond);

void load(benchmark::State &state)
{
    const FullCard &card = FullCard::instance();
    for (auto _ : state) {
        benchmark::DoNotOptimize(engine::Datastore::parse(card.running.schema_ptr(), card.text));
    }
}
BENCHMARK(load)->Unit(benchmark::kMillisecond);

void yang_check(benchmark::State &state)
{
    const FullCard &card = FullCard::instance();
    for (auto _ : state) {
        state.PauseTiming();
        auto tree = engine::Datastore::parse(card.running.schema_ptr(), card.text);
        state.ResumeTiming();
        tree.check(card.text.name);
        state.PauseTiming();
        tree = engine::Datastore(card.running.schema_ptr());
        state.ResumeTiming();
    }
}
BENCHMARK(yang_check)->Unit(benchmark::kMillisecond);

void everyday_edit_apply(benchmark::State &state)
{
    const FullCard &card = FullCard::instance();
    for (auto _ : state) {
        benchmark::DoNotOptimize(engine::apply_edit(card.running, card.everyday));
    }
}
BENCHMARK(everyday_edit_apply)->Unit(benchmark::kMillisecond);

void everyday_edit_compare(benchmark::State &state)
{
    const FullCard &card = FullCard::instance();
    const engine::Datastore changed = candidate();
    for (auto _ : state) {
        benchmark::DoNotOptimize(engine::compare(card.running, changed));
    }
}
BENCHMARK(everyday_edit_compare)->Unit(benchmark::kMillisecond);

void everyday_edit_plan(benchmark::State &state)
{
    const Transaction transaction(candidate());
    transaction.get().changes(); // Compared once, before the clock runs.
    for (auto _ : state) {
        benchmark::DoNotOptimize(engine::plan(transaction.get()));
    }
}
BENCHMARK(everyday_edit_plan)->Unit(benchmark::kMillisecond);

void everyday_edit_rules(benchmark::State &state)
{
    Transaction transaction(candidate());
    const auto requests = engine::plan(transaction.get());
    engine::Observer nobody;
    for (auto _ : state) {
        if (transaction.validate(requests, nobody) == engine::Verdict::kRejected) {
            state.SkipWithError("the everyday edit was rejected");
        }
    }
    state.counters["requests"] = static_cast<double>(requests.size());
}
BENCHMARK(everyday_edit_rules)->Unit(benchmark::kMillisecond);

} // namespace

const FullCard &FullCard::instance()
{
    static const FullCard card = make_full_card();
    return card;
}

Transaction::Transaction(engine::Datastore candidate)
    : m_framework(FullCard::instance().running.copy()),
      m_transaction(&m_framework.begin(std::move(candidate)))
{
}

engine::Verdict Transaction::validate(const std::vector<engine::Request> &requests,
                                      engine::Observer &observer)
{
    const auto callback = [](confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *newval) {
        return plugin().validate(tctx, kp, newval);
    };
    return engine::validate(*m_transaction, requests, plugin().validation_point(), callback,
                            m_context.word(), true, observer);
}

host::Plugin &plugin()
{
    static host::Plugin loaded = [] {
        fm::Card card;
        card.do_bw_check = true;
        card.max_onus_per_pon_link = static_cast<int>(kShape.onus);
        card.max_pon_links = static_cast<int>(kShape.links);
        card.manageable_pon_links = kShape.links;
        fm::use_card(card);
        host::Plugin fresh("");
        fresh.init();
        return fresh;
    }();
    return loaded;
}

} // namespace bench
