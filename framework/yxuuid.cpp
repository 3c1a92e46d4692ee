#include "framework/yxuuid.h"

#include <QUuid>

SYxUuid YxUuid_Create() {
    const QUuid q = QUuid::createUuid();
    SYxUuid u;
    u.data1 = q.data1;
    u.data2 = q.data2;
    u.data3 = q.data3;
    for (int i = 0; i < 8; ++i) u.data4[i] = q.data4[i];
    return u;
}
