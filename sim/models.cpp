// The models qelsim can serve. A new model is a Chamber subclass with its
// register layout, and one line in the table below.
#include <functional>

#include "model.h"
#include "qel2000_model.h"
#include "qel2200_model.h"
#include "qel2300_model.h"
#include "qel2400_model.h"

namespace qelsim {

namespace {
struct ModelEntry {
    const char* name;
    int channels;
    std::function<std::unique_ptr<Chamber>(const ChamberConfig&)> make;
};

const std::vector<ModelEntry>& Models() {
    static const std::vector<ModelEntry> models = {
        {"QEL2000", 1, [](const ChamberConfig& c) { return std::make_unique<Qel2000Model>(c, 1); }},
        {"QEL2100", 2, [](const ChamberConfig& c) { return std::make_unique<Qel2000Model>(c, 2); }},
        {"QEL2200", 2, [](const ChamberConfig& c) { return std::make_unique<Qel2200Model>(c); }},
        {"QEL2300", 3, [](const ChamberConfig& c) { return std::make_unique<Qel2300Model>(c); }},
        {"QEL2400", 3, [](const ChamberConfig& c) { return std::make_unique<Qel2400Model>(c); }},
    };
    return models;
}
}  // namespace

std::unique_ptr<Chamber> MakeChamber(const ChamberConfig& config, QString* error) {
    for (const ModelEntry& m : Models()) {
        if (config.model.compare(QLatin1String(m.name), Qt::CaseInsensitive) == 0) return m.make(config);
    }
    if (error) *error = QString("unknown model %1 (known: %2)").arg(config.model, KnownModels().join(", "));
    return nullptr;
}

QStringList KnownModels() {
    QStringList names;
    for (const ModelEntry& m : Models()) names << m.name;
    return names;
}

int ModelChannels(const QString& model) {
    for (const ModelEntry& m : Models()) {
        if (model.compare(QLatin1String(m.name), Qt::CaseInsensitive) == 0) return m.channels;
    }
    return 0;
}

}  // namespace qelsim
