#include "update/UpdateCommon/DownloadState.h"

DownloadState &gDownloadState()
{
    static DownloadState state;
    return state;
}
