#include "value_forms.h"

#include "profile.h"
#include "runtime_error.h"
#include "state.h"

#include <QDir>
#include <QFileInfo>

#include <cmath>
#include <limits>

namespace qel {

QString CutAtTerminator(const QString& text, QChar terminator) {
    const qsizetype at = text.indexOf(terminator);
    if (at < 0) throw RuntimeError(err::InvalidArgument);
    return text.left(at);
}

namespace {
template <typename Int>
Int ToInt(double value) {
    const double r = std::nearbyint(value);  // default rounding: half to even
    if (!(r >= std::numeric_limits<Int>::min() && r <= std::numeric_limits<Int>::max()))
        throw RuntimeError(err::Overflow);
    return static_cast<Int>(r);
}
}  // namespace

int16_t ToInt16(double value) { return ToInt<int16_t>(value); }
int32_t ToInt32(double value) { return ToInt<int32_t>(value); }

QString NumberText(double value) { return QString::number(value, 'g', 15); }

namespace {
[[noreturn]] void WriteFailed(const QString& path) {
    throw RuntimeError(QFileInfo(path).absoluteDir().exists() ? err::PathFileAccess : err::PathNotFound);
}
}  // namespace

void WriteSetting(const QString& section, const QString& key, const QString& value, const QString& path) {
    if (!WriteProfileString(section, key, value, path)) WriteFailed(path);
}

void SaveSettings(ProfileEditor& editor) {
    if (!editor.save()) WriteFailed(editor.path());
}

QString SettingsPath(const QString& name) { return AppPath + name; }

}  // namespace qel
