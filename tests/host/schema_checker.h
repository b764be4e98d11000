/** Checks a JSON document against a JSON Schema, as far as our own schemas go. */
#pragma once

#include <nlohmann/json.hpp>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

/** Knows type, enum, required, properties, additionalProperties, items and local references. */
class SchemaChecker
{
public:
    explicit SchemaChecker(nlohmann::json schema) : m_schema(std::move(schema)) {}

    /** @return Faults; empty when the document is as it should be. */
    std::vector<std::string> faults(const nlohmann::json &document)
    {
        m_faults.clear();
        check(document, m_schema, "");
        return m_faults;
    }

private:
    using Json = nlohmann::json;

    void check(const Json &value, const Json &schema, const std::string &where)
    {
        if (schema.contains("$ref")) {
            const std::string target = schema.at("$ref");
            check(value, m_schema.at(Json::json_pointer(target.substr(1))), where);
            return;
        }
        if (schema.contains("type") && !has_type(value, schema.at("type"))) {
            m_faults.push_back(where + " is no " + schema.at("type").get<std::string>());
            return;
        }
        if (schema.contains("enum")) {
            const auto &allowed = schema.at("enum");
            if (std::find(allowed.begin(), allowed.end(), value) == allowed.end()) {
                m_faults.push_back(where + " is " + value.dump());
            }
        }
        if (value.is_object()) {
            check_object(value, schema, where);
        } else if (value.is_array() && schema.contains("items")) {
            for (std::size_t i = 0; i < value.size(); ++i) {
                check(value[i], schema.at("items"), where + "/" + std::to_string(i));
            }
        }
    }

    void check_object(const Json &value, const Json &schema, const std::string &where)
    {
        for (const auto &name : schema.value("required", Json::array())) {
            if (!value.contains(name.get<std::string>())) {
                m_faults.push_back(where + " lacks " + name.get<std::string>());
            }
        }
        const Json properties = schema.value("properties", Json::object());
        const Json others = schema.value("additionalProperties", Json(true));
        for (const auto &[name, member] : value.items()) {
            const std::string place = where + "/" + name;
            if (properties.contains(name)) {
                check(member, properties.at(name), place);
            } else if (others.is_object()) {
                check(member, others, place);
            } else if (others == false) {
                m_faults.push_back(place + " is not in the schema");
            }
        }
    }

    static bool has_type(const Json &value, const std::string &type)
    {
        return (type == "object" && value.is_object()) || (type == "array" && value.is_array()) ||
               (type == "string" && value.is_string()) ||
               (type == "boolean" && value.is_boolean()) ||
               (type == "integer" && value.is_number_integer());
    }

    Json m_schema;
    std::vector<std::string> m_faults;
};
