#pragma once
// A port name with the natural order of port names: COM2 before COM10, names of
// equal length in plain byte order.

#include <string>

class RAPort {
public:
    RAPort() = default;
    explicit RAPort(std::string name) : m_name(std::move(name)) {}

    const std::string& Name() const { return m_name; }
    bool operator<(const RAPort& other) const;

private:
    std::string m_name;
};
