// A generated model run on one case: doses, fixed and random effects, observation times and
// the variables to read, from a JSON file; prints one CSV row per observation time.
// Compiled together with the generated files: the include path holds Model.cpp.
#include "Model.cpp"

#include "driver.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <iostream>

static std::map<std::string, double> Values(nlohmann::json const& j, char const* key) {
    std::map<std::string, double> out;
    if (j.contains(key))
        for (auto const& kv : j[key].items())
            out[kv.key()] = kv.value().get<double>();
    return out;
}

int main(int argc, char** argv) {
    if (argc < 2) {
        fprintf(stderr, "usage: %s CASE.json\n", argv[0]);
        return 2;
    }
    std::ifstream in(argv[1]);
    nlohmann::json c = nlohmann::json::parse(in);
    run::Subject s;
    s.fixedEffects = Values(c, "fixed_effects");
    s.randomEffects = Values(c, "random_effects");
    s.covariates = Values(c, "covariates");
    for (auto const& d : c.value("doses", nlohmann::json::array()))
        s.doses.push_back({d.at("time").get<double>(), d.at("amount").get<double>(),
                           d.at("compartment").get<std::string>(), d.value("duration", 0.0),
                           d.value("level", 1)});
    run::Start(s);
    std::vector<std::string> names;
    for (auto const& p : c.value("predictions", nlohmann::json::array()))
        names.push_back(p.at("name").get<std::string>());
    printf("time");
    for (auto const& n : names)
        printf(",%s", n.c_str());
    printf("\n");
    for (auto const& t : c.value("observation_times", nlohmann::json::array())) {
        double time = t.get<double>();
        run::AdvanceTo(time);
        printf("%.17g", time);
        for (auto const& n : names)
            printf(",%.17g", run::Read(n.c_str()));
        printf("\n");
    }
    return 0;
}
