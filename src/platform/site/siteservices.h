#pragma once
// The service control port over a site: hosts/NAME/services.ini holds one
// section per service with its State (1 stopped, 2 start pending, 3 stop
// pending, 4 running), StartPendingMs, StopPendingMs and PendingUntil (ms since
// 1970). A pending phase ends by itself when the clock passes PendingUntil, so
// nothing has to run for a service to finish starting. Changes are made under
// the host's services.lock and written atomically: cwsite reads the file from
// another process.

#include "platform/clock.h"
#include "platform/servicecontrol.h"

#include <memory>
#include <mutex>
#include <unordered_map>

namespace OCL::Site {

class SiteDirectory;

class CSiteServiceControl final : public IServiceControl {
public:
    CSiteServiceControl(std::shared_ptr<const SiteDirectory> site, std::shared_ptr<IClock> clock);
    ~CSiteServiceControl() override;
    CSiteServiceControl(const CSiteServiceControl&) = delete;
    CSiteServiceControl& operator=(const CSiteServiceControl&) = delete;

    DWORD OpenManager(const std::string& machine, DWORD access, SC_HANDLE* result) override;
    DWORD Open(SC_HANDLE manager, const std::string& serviceName, DWORD access, SC_HANDLE* result) override;
    DWORD Start(SC_HANDLE service) override;
    DWORD Control(SC_HANDLE service, DWORD control, ServiceStatus* status) override;
    DWORD QueryStatus(SC_HANDLE service, ServiceStatus* status) override;
    DWORD Close(SC_HANDLE handle) override;

private:
    struct Object;

    bool Find(SC_HANDLE handle, bool wantService, Object* copy);
    SC_HANDLE Add(std::unique_ptr<Object> object);
    void Fill(const Object& service, DWORD state, ServiceStatus* status);

    std::shared_ptr<const SiteDirectory> m_site;
    std::shared_ptr<IClock> m_clock;
    std::mutex m_mutex;
    std::unordered_map<const Object*, std::unique_ptr<Object>> m_objects;
};

} // namespace OCL::Site
