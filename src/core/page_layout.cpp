#include "page_layout.h"

#include "controls.h"

#include <QHash>

namespace qel::page {

namespace {
QString Suffix(Layout layout) {
    switch (layout) {
        case Layout::Family:
            return QStringLiteral("2000");
        case Layout::L2200:
            return QStringLiteral("2200");
        case Layout::L2300:
            return QStringLiteral("2300");
        case Layout::None:
            break;
    }
    return QString();
}
}  // namespace

Layout LayoutOf(const QString& model) {
    if (model == u"QEL2000" || model == u"QEL2100" || model == u"QEL2400") return Layout::Family;
    if (model == u"QEL2200") return Layout::L2200;
    if (model == u"QEL2300") return Layout::L2300;
    return Layout::None;
}

int ChannelsOf(Layout layout) {
    switch (layout) {
        case Layout::Family:
        case Layout::L2300:
            return 3;
        case Layout::L2200:
            return 2;
        case Layout::None:
            break;
    }
    return 0;
}

namespace {
// base, the layout's suffix and, when indexed, "(ch)", built in one string.
QString Named(Layout layout, const QString& base, int ch, bool indexed) {
    const QString suffix = Suffix(layout);
    QString out;
    out.reserve(base.size() + suffix.size() + 8);
    out.append(base).append(suffix);
    if (indexed) AppendIndex(out, ch);
    return out;
}

// The names a page asks for on every refresh, made once: a page's controls
// are few and fixed, so the table stays small. Channels beyond 3 are made
// each time.
QString CachedName(Layout layout, const QString& base, int ch, bool indexed) {
    static QHash<QString, QString> made[4][2][4];
    const int l = static_cast<int>(layout);
    if (l < 0 || l > 3 || ch < 0 || ch > 3) return Named(layout, base, ch, indexed);
    QHash<QString, QString>& names = made[l][indexed ? 1 : 0][ch];
    auto it = names.constFind(base);
    if (it == names.constEnd()) it = names.insert(base, Named(layout, base, ch, indexed));
    return *it;
}
}  // namespace

QString Name(Layout layout, const QString& base, int ch) { return CachedName(layout, base, ch, layout == Layout::Family); }

QString ValueName(Layout layout, const QString& base, int ch) { return CachedName(layout, base, ch, true); }

QString LampSetName(Layout layout, int set) {
    if (layout == Layout::Family) {
        static const char* const kSets[3] = {"Status_Lamp2000", "Status_Lamp2100", "Status_Lamp2400"};
        return QString::fromLatin1(kSets[(set >= 1 && set <= 3 ? set : 1) - 1]);
    }
    return QStringLiteral("Status_Lamp") + Suffix(layout);
}

QString PageLogName(int chamber, const QString& tail) { return QStringLiteral("frmChamber%1").arg(chamber) + tail; }

}  // namespace qel::page
