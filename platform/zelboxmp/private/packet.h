// Properties as a packet.

#ifndef ZELBOXMP_PACKET_H
#define ZELBOXMP_PACKET_H

#include <map>
#include <string>

#include <zelboxmp/xmp.h>

namespace zelboxmp
{
typedef std::map<std::string, std::map<std::string, std::string>> Properties; // by namespace, name

// The packet. Throws an ErrorCode for what XML can't carry.
std::string MakePacket(const Properties& properties);
} // namespace zelboxmp

#endif
