/** A small card on which every rule has something to look at. */
#pragma once

namespace test_support
{

/** Names are single letters, so that made-up edits meet what is there. */
inline constexpr const char *kBaseCard = R"(<config xmlns="urn:olt:gpon:base"><profile><gpon>
<bandwidth-profile><name>a</name><traffic><type-1><fixed>1000</fixed></type-1></traffic>
</bandwidth-profile>
<bandwidth-profile><name>b</name><traffic><type-5><fixed>10</fixed><assured>20</assured>
<maximum>30</maximum></type-5></traffic></bandwidth-profile>
<line-profile><name>a</name>
<tcont><id>1</id><bandwidth-profile>a</bandwidth-profile></tcont>
<tcont><id>2</id><bandwidth-profile>b</bandwidth-profile></tcont>
<gem><gem-id>1</gem-id></gem><gem><gem-id>2</gem-id></gem></line-profile>
<line-profile><name>b</name><tcont><id>1</id><bandwidth-profile>b</bandwidth-profile></tcont>
</line-profile>
<service-profile><name>a</name>
<vlan-mapping><name>a</name><uni><ethernet>1</ethernet><ethernet>2</ethernet></uni>
<match><outer><vlan-id>10</vlan-id><cos>any</cos></outer></match></vlan-mapping>
<vlan-mapping><name>b</name><veip><veip/></veip>
<match><outer><vlan-id>any</vlan-id><cos>3</cos></outer></match></vlan-mapping></service-profile>
<rg-profile><name>a</name><wlan><id>1</id><ssid><custom>Home</custom></ssid></wlan>
<wlan><id>2</id><ssid><auto><onu-serial-number/><prefix>A</prefix></auto></ssid></wlan>
<wan-pppoe-connection><name>a</name><password>$0$word</password><itf-grouping>
<ports><port>eth1</port></ports><ipv4-address>10.0.1.1/24</ipv4-address>
<dhcp-server>true</dhcp-server><dhcp-server-address-pool><start-address>10.0.1.2</start-address>
<end-address>10.0.1.9</end-address></dhcp-server-address-pool></itf-grouping>
</wan-pppoe-connection>
<wan-bridge-connection><name>b</name><itf-grouping><ports><port>eth2</port><vlan>10</vlan></ports>
<ipv4-address>10.0.2.1/24</ipv4-address></itf-grouping></wan-bridge-connection></rg-profile>
<rg-profile><name>b</name></rg-profile>
<tr069-acs-profile><name>a</name><password>$0$secret</password></tr069-acs-profile>
<sip-agent-profile><name>a</name></sip-agent-profile>
<media-profile><name>a</name><packet-period>10</packet-period></media-profile>
</gpon></profile>
<interface><gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>1</port-id>
<onu><onu-id>1</onu-id><profile-references><line-profile>a</line-profile>
<service-profile>a</service-profile></profile-references>
<auth-method><serial-number>ABCD00000001</serial-number><password>one</password></auth-method>
<rg-profile>a</rg-profile><tr069-acs-profile>a</tr069-acs-profile>
<rg-override-parameters><pppoe-username>user</pppoe-username>
<parameter><name>b</name><value>1</value></parameter><parameter><name>a</name></parameter>
</rg-override-parameters>
<pots><port>1</port><sip-agent-profile>a</sip-agent-profile><media-profile>a</media-profile></pots>
<snmp><real-time/></snmp><management><address>10.0.0.2/24</address>
<default-gateway>10.0.0.1</default-gateway></management></onu>
<onu><onu-id>2</onu-id><profile-references><line-profile>a</line-profile></profile-references>
<auth-method><serial-number>ABCD00000002</serial-number></auth-method></onu></gpon>
<gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>2</port-id>
<onu><onu-id>1</onu-id><profile-references><line-profile>b</line-profile></profile-references></onu>
</gpon></interface>
<gpon><card>1/1</card><pon-link><port>1</port></pon-link></gpon>
<service-port><id>1</id><gpon><id>1/1/1</id><onu><id>1</id><gem><gem-id>1</gem-id></gem></onu></gpon>
<match><outer><vlan-id>10</vlan-id></outer></match></service-port>
<service-port><id>2</id><gpon><id>1/1/1</id><onu><id>2</id><gem><gem-id>1</gem-id></gem></onu></gpon>
<match><outer><vlan-id>any</vlan-id></outer></match></service-port></config>)";

} // namespace test_support
