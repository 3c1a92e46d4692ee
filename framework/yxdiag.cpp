#include "framework/yxdiag.h"

#include <QLoggingCategory>
#include <QString>

Q_LOGGING_CATEGORY(lcYxProjectDb, "gnr.projectdb", QtWarningMsg)

void YxDiag_Write(const char* file, int line, EYxDiagLevel level, const wchar_t* text) {
    const QString msg = QString::fromWCharArray(text ? text : L"");
    QMessageLogger logger(file, line, nullptr, lcYxProjectDb().categoryName());
    if (level == eYxDiagWarning) {
        if (lcYxProjectDb().isWarningEnabled()) logger.warning("%s", qUtf8Printable(msg));
    } else {
        if (lcYxProjectDb().isDebugEnabled()) logger.debug("%s", qUtf8Printable(msg));
    }
}
