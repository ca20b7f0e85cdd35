#include "platform/site/siteservices.h"

#include "ini/inifile.h"
#include "platform/site/sitedirectory.h"

namespace OCL::Site {
namespace {

constexpr DWORD kAcceptStop = 0x1;

} // namespace

struct CSiteServiceControl::Object {
    HostInfo host;
    std::string service; // empty for a manager; else as services.ini spells it
};

CSiteServiceControl::CSiteServiceControl(std::shared_ptr<const SiteDirectory> site,
                                         std::shared_ptr<IClock> clock)
    : m_site(std::move(site)), m_clock(std::move(clock)) {}

CSiteServiceControl::~CSiteServiceControl() = default;

SC_HANDLE CSiteServiceControl::Add(std::unique_ptr<Object> object) {
    Object* raw = object.get();
    std::lock_guard lock(m_mutex);
    m_objects.emplace(raw, std::move(object));
    return reinterpret_cast<SC_HANDLE>(raw);
}

bool CSiteServiceControl::Find(SC_HANDLE handle, bool wantService, Object* copy) {
    std::lock_guard lock(m_mutex);
    auto it = m_objects.find(reinterpret_cast<const Object*>(handle));
    if (!handle || it == m_objects.end() || it->second->service.empty() == wantService)
        return false;
    *copy = *it->second;
    return true;
}

void CSiteServiceControl::Fill(const Object& service, DWORD state, ServiceStatus* status) {
    *status = ServiceStatus{};
    status->currentState = state;
    status->controlsAccepted = state == ServiceState::Running ? kAcceptStop : 0;
    if (state == ServiceState::StartPending || state == ServiceState::StopPending) {
        const long long until =
            m_site->Files().GetInt(service.host.dir / "services.ini", service.service, "PendingUntil", 0);
        const long long left = until - m_clock->NowMs();
        status->checkPoint = 1;
        status->waitHint = left > 0 ? DWORD(left) : 0;
    }
}

DWORD CSiteServiceControl::OpenManager(const std::string& machine, DWORD, SC_HANDLE* result) {
    if (!result)
        return Err::InvalidParameter;
    *result = nullptr;
    auto object = std::make_unique<Object>();
    if (const DWORD reach = m_site->Reach(machine, &object->host))
        return reach;
    *result = Add(std::move(object));
    return Err::Success;
}

DWORD CSiteServiceControl::Open(SC_HANDLE manager, const std::string& serviceName, DWORD, SC_HANDLE* result) {
    if (!result)
        return Err::InvalidParameter;
    *result = nullptr;
    auto object = std::make_unique<Object>();
    if (!Find(manager, false, object.get()))
        return Err::InvalidHandle;
    if (serviceName.empty())
        return Err::ServiceDoesNotExist;
    auto doc = m_site->Files().Read(object->host.dir / "services.ini");
    auto section = doc->FindSection(serviceName);
    if (!section)
        return Err::ServiceDoesNotExist;
    object->service = std::string(doc->SectionName(*section));
    *result = Add(std::move(object));
    return Err::Success;
}

DWORD CSiteServiceControl::Start(SC_HANDLE service) {
    Object s;
    if (!Find(service, true, &s))
        return Err::InvalidHandle;
    FileLock lock(s.host.dir / "services.lock");
    if (!lock.Locked())
        return Err::WriteFault;
    const std::int64_t now = m_clock->NowMs();
    const DWORD state = m_site->ServiceState(s.host, s.service, now);
    if (state == 0)
        return Err::ServiceDoesNotExist;
    if (state != ServiceState::Stopped)
        return Err::ServiceAlreadyRunning;
    const auto path = s.host.dir / "services.ini";
    const long long pending = m_site->Files().GetInt(path, s.service, "StartPendingMs", 0);
    Ini::Edit edit;
    edit.Set(s.service, "State",
             std::to_string(pending > 0 ? ServiceState::StartPending : ServiceState::Running));
    edit.Set(s.service, "PendingUntil", std::to_string(pending > 0 ? now + pending : 0));
    return m_site->Files().Apply(path, edit) ? Err::Success : Err::WriteFault;
}

DWORD CSiteServiceControl::Control(SC_HANDLE service, DWORD control, ServiceStatus* status) {
    Object s;
    if (!Find(service, true, &s))
        return Err::InvalidHandle;
    if (!status)
        return Err::InvalidParameter;
    if (control != ServiceControlCode::Stop && control != ServiceControlCode::Interrogate)
        return Err::InvalidServiceControl;
    FileLock lock(s.host.dir / "services.lock");
    if (!lock.Locked())
        return Err::WriteFault;
    const std::int64_t now = m_clock->NowMs();
    const DWORD state = m_site->ServiceState(s.host, s.service, now);
    if (state == 0)
        return Err::ServiceDoesNotExist;
    if (state == ServiceState::Stopped)
        return Err::ServiceNotActive;
    if (control == ServiceControlCode::Interrogate) {
        Fill(s, state, status);
        return Err::Success;
    }
    if (state != ServiceState::Running)
        return Err::ServiceCannotAcceptControl;
    const auto path = s.host.dir / "services.ini";
    const long long pending = m_site->Files().GetInt(path, s.service, "StopPendingMs", 0);
    const DWORD next = pending > 0 ? ServiceState::StopPending : ServiceState::Stopped;
    Ini::Edit edit;
    edit.Set(s.service, "State", std::to_string(next));
    edit.Set(s.service, "PendingUntil", std::to_string(pending > 0 ? now + pending : 0));
    if (!m_site->Files().Apply(path, edit))
        return Err::WriteFault;
    Fill(s, next, status);
    return Err::Success;
}

DWORD CSiteServiceControl::QueryStatus(SC_HANDLE service, ServiceStatus* status) {
    Object s;
    if (!Find(service, true, &s))
        return Err::InvalidHandle;
    if (!status)
        return Err::InvalidParameter;
    const DWORD state = m_site->ServiceState(s.host, s.service, m_clock->NowMs());
    if (state == 0)
        return Err::ServiceDoesNotExist;
    Fill(s, state, status);
    return Err::Success;
}

DWORD CSiteServiceControl::Close(SC_HANDLE handle) {
    std::unique_ptr<Object> closing;
    std::lock_guard lock(m_mutex);
    auto it = m_objects.find(reinterpret_cast<const Object*>(handle));
    if (!handle || it == m_objects.end())
        return Err::InvalidHandle;
    closing = std::move(it->second);
    m_objects.erase(it);
    return Err::Success;
}

} // namespace OCL::Site
