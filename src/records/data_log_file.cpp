#include "data_log_file.h"

#include "codepage.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QtEndian>

namespace qel {

namespace {

constexpr int kHeader = 80;

QString Text(const QByteArray& bytes) {
    QString t = FromCodePage(bytes);
    while (t.endsWith(u' ')) t.chop(1);
    return t;
}

QString ModelOf(const QString& title) {
    static const QRegularExpression re(QStringLiteral("^\\[(QEL2[0-4]00)[\\]-]"));
    const QRegularExpressionMatch m = re.match(title);
    return m.hasMatch() ? m.captured(1) : QString();
}

}  // namespace

int DataLogRowSize(const QString& fileName, const QString& title, const QString& channelText) {
    const QString model = ModelOf(title);
    if (model.isEmpty()) return 0;
    if (model == u"QEL2200") return 52;
    if (model == u"QEL2300") return 76;
    if (channelText.trimmed().isEmpty()) return model == u"QEL2400" ? 76 : 52;  // linked run
    return QFileInfo(fileName).completeBaseName().contains(QStringLiteral("_HC")) ? 36 : 28;
}

DataLogFile ReadDataLog(const QString& fileName, int rowSize) {
    DataLogFile out;
    QFile f(fileName);
    if (!f.open(QIODevice::ReadOnly)) {
        out.error = QStringLiteral("cannot open: ") + f.errorString();
        return out;
    }
    const QByteArray all = f.readAll();
    if (all.size() < kHeader) {
        out.error = QStringLiteral("shorter than its 80-byte header");
        return out;
    }
    out.title = Text(all.left(40));
    out.channelText = Text(all.mid(40, 40));
    out.rowSize = rowSize > 0 ? rowSize : DataLogRowSize(fileName, out.title, out.channelText);
    if (out.rowSize < 4 || (out.rowSize - 4) % 8 != 0) {
        out.error = QStringLiteral("no known row size for the title \"") + out.title + u'"';
        return out;
    }
    const int fields = (out.rowSize - 4) / 8;
    const qsizetype body = all.size() - kHeader;
    out.trailingBytes = static_cast<int>(body % out.rowSize);
    for (qsizetype at = kHeader; at + out.rowSize <= all.size(); at += out.rowSize) {
        const char* p = all.constData() + at;
        DataLogRow row;
        row.seconds = qFromLittleEndian<qint32>(p);
        row.values.reserve(static_cast<size_t>(fields));
        for (int i = 0; i < fields; ++i) row.values.push_back(qFromLittleEndian<double>(p + 4 + 8 * i));
        out.rows.append(std::move(row));
    }
    return out;
}

}  // namespace qel
