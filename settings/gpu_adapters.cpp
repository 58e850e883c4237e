// The adapters come from DXGI: it is part of every system we run on and, other than the encoder itself, tells what
// is there without starting a program.
#include "settings/gpu_adapters.h"

#include <windows.h>

#include <dxgi.h>
#include <objbase.h>

#include <algorithm>
#include <iterator>

#include "app/log.h"

namespace {

// COM for this thread. A thread that chose another threading model keeps it; that serves, but is not ours to end.
class ComApartment {
public:
    ComApartment() : result_(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) {}
    ~ComApartment() {
        if (SUCCEEDED(result_)) CoUninitialize();
    }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;

    bool usable() const {
        return SUCCEEDED(result_) || result_ == RPC_E_CHANGED_MODE;
    }
    HRESULT result() const {
        return result_;
    }

private:
    HRESULT result_;
};

}  // namespace

static bool add_adapter(GpuList* list, IDXGIAdapter* adapter) {
    DXGI_ADAPTER_DESC description = {};
    if (FAILED(adapter->GetDesc(&description))) return true;
    uint16_t name[std::size(description.Description)];
    std::copy(std::begin(description.Description), std::end(description.Description), name);
    return gpu_list_add(list, description.VendorId, name);
}

static void add_adapters(GpuList* list, IDXGIFactory* factory) {
    bool more = true;
    for (UINT i = 0; more; ++i) {
        IDXGIAdapter* adapter = nullptr;
        if (FAILED(factory->EnumAdapters(i, &adapter))) return;
        more = add_adapter(list, adapter);
        adapter->Release();
    }
}

int32_t gpu_adapters_enumerate(GpuList* list) {
    *list = {};
    const ComApartment com;
    if (!com.usable()) {
        log_error("nvenc_gpu_enum: CoInitializeEx failed 0x%08lx", static_cast<unsigned long>(com.result()));
        return -1;
    }
    IDXGIFactory* factory = nullptr;
    const HRESULT created = CreateDXGIFactory(IID_PPV_ARGS(&factory));
    if (FAILED(created)) {
        log_error("nvenc_gpu_enum: CreateDXGIFactory failed 0x%08lx", static_cast<unsigned long>(created));
        return -1;
    }
    add_adapters(list, factory);
    factory->Release();
    log_info("nvenc_gpu_enum: %d NVIDIA adapter(s) via DXGI", list->count);
    return list->count;
}
