// SPDX-License-Identifier: MIT

#include "platform/StayLoaded.h"

#include <dlfcn.h>

void gStayLoaded()
{
    Dl_info self{};
    if (dladdr(reinterpret_cast<void *>(gStayLoaded), &self) == 0) {
        return;
    }
    void *library = dlopen(self.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
    if (library != nullptr) {
        dlclose(library);
    }
}
