#pragma once

// The names of the classes that several files mention.
namespace broker {

// The class of the computer that has the ports and endpoints. The platform serves it.
inline constexpr char COMPUTER_SYSTEM[] = "Win32_ComputerSystem";

inline constexpr char ETHERNET_PORT[] = "Zerix_EthernetPort";
inline constexpr char ETHERNET_PORT_STATISTICS[] = "Zerix_EthernetPortStatistics";
inline constexpr char IP_PROTOCOL_ENDPOINT[] = "Zerix_IPProtocolEndpoint";
inline constexpr char REGISTERED_PROFILE[] = "Zerix_RegisteredProfile";
inline constexpr char ADAPTER_SETTING[] = "Zerix_AdapterSetting";
inline constexpr char DIAGNOSTIC_SETTING[] = "Zerix_DiagnosticSetting";
inline constexpr char CONCRETE_JOB[] = "Zerix_ConcreteJob";

}  // namespace broker
