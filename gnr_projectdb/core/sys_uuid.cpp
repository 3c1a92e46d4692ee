// Uuid text of new rows: 32 lower-case hexadecimal digits.
#include "gnr_projectdb/sys.h"

#include "framework/yxuuid.h"

CYxStringW YxProjectDb_Sys_UuidAsText() {
    const SYxUuid u = YxUuid_Create();
    return CYxStringW::Format(L"%08x%04x%04x%02x%02x%02x%02x%02x%02x%02x%02x", u.data1, u.data2, u.data3, u.data4[0],
                              u.data4[1], u.data4[2], u.data4[3], u.data4[4], u.data4[5], u.data4[6], u.data4[7]);
}
