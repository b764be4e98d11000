#include "cli/generate_command.h"

#include "card_model.h"
#include "checker/model_schema.h"
#include "checker/outcome.h"
#include "cli/output_file.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <fstream>
#include <memory>
#include <ostream>

namespace host
{
namespace
{

std::unique_ptr<TreeWriter> make_writer(const GenerateOptions &options, std::ostream &out)
{
    if (options.format == engine::Format::kJson) {
        return std::make_unique<JsonWriter>(out, std::string(model::kMainModule));
    }
    return std::make_unique<XmlWriter>(out, model_schema()->module()->ns);
}

void write_configuration(const GenerateOptions &options, std::ostream &out)
{
    const auto writer = make_writer(options, out);
    CardGenerator(options.shape, *writer).write();
}

/** The card must not expect more PON links than the configuration has. */
void write_card(const CardShape &shape, std::ostream &out)
{
    const nlohmann::ordered_json card{{"do_bw_check", true},
                                      {"max_onus_per_pon_link", 128},
                                      {"max_pon_links", shape.links},
                                      {"manageable_pon_links", shape.links}};
    out << card.dump(2) << '\n';
}

template <typename Write>
void write_file(const std::string &path, const Write &write)
{
    OutputFile file(path);
    std::ofstream out(file.writable_path());
    errno = 0;
    write(out);
    if (!out.flush()) {
        file.fail(errno);
    }
    file.commit();
}

} // namespace

int run_generate(const GenerateOptions &options, const Console &console)
{
    const CardShape &shape = options.shape;
    if (shape.service_ports > shape.links * shape.onus * kMaxServicePortsPerOnu) {
        console.err << "gpon-validate: " << shape.links * shape.onus
                    << " ONUs have no room for so many service ports: at most "
                    << kMaxServicePortsPerOnu << " for each\n";
        return static_cast<int>(Result::kNotChecked);
    }
    require_separate({{"--output", options.output}, {"--card", options.card}}, {});
    if (options.output.empty()) {
        write_configuration(options, console.out);
        flush_or_throw(console.out);
    } else {
        write_file(options.output, [&](std::ostream &out) { write_configuration(options, out); });
    }
    if (!options.card.empty()) {
        write_file(options.card, [&](std::ostream &out) { write_card(shape, out); });
    }
    return 0;
}

} // namespace host
