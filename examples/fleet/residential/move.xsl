<?xml version="1.0"?>
<!-- Makes an edit of a card's running configuration: whoever has the line profile `from` gets more upstream rate.
     A profile that is in use cannot be edited. So a bandwidth profile is created, and a copy of the line profile
     whose first T-CONT has that; each ONU is moved from the old line profile to the new one. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
                xmlns="urn:olt:gpon:base" xmlns:b="urn:olt:gpon:base" exclude-result-prefixes="b">
  <xsl:output method="xml" indent="yes"/>
  <xsl:param name="from" select="'residential'"/>
  <xsl:param name="to" select="'residential-2027'"/>
  <xsl:param name="assured" select="10240"/> <!-- kbit/s, a multiple of 64 -->

  <xsl:template match="/">
    <config>
      <xsl:if test="//b:onu/b:profile-references/b:line-profile = $from">
        <profile>
          <gpon>
            <bandwidth-profile>
              <name><xsl:value-of select="$to"/></name>
              <traffic><type-2><assured><xsl:value-of select="$assured"/></assured></type-2></traffic>
            </bandwidth-profile>
            <xsl:apply-templates select="//b:profile//b:line-profile[b:name = $from]" mode="copy"/>
          </gpon>
        </profile>
        <interface>
          <xsl:for-each select="//b:gpon[b:onu/b:profile-references/b:line-profile = $from]">
            <gpon>
              <xsl:copy-of select="b:chassis-id | b:slot-id | b:port-id"/>
              <xsl:for-each select="b:onu[b:profile-references/b:line-profile = $from]">
                <onu>
                  <xsl:copy-of select="b:onu-id"/>
                  <profile-references><line-profile><xsl:value-of select="$to"/></line-profile></profile-references>
                </onu>
              </xsl:for-each>
            </gpon>
          </xsl:for-each>
        </interface>
      </xsl:if>
    </config>
  </xsl:template>

  <xsl:template match="@*|node()" mode="copy">
    <xsl:copy><xsl:apply-templates select="@*|node()" mode="copy"/></xsl:copy>
  </xsl:template>
  <xsl:template match="b:line-profile/b:name/text()" mode="copy"><xsl:value-of select="$to"/></xsl:template>
  <xsl:template match="b:tcont[1]/b:bandwidth-profile/text()" mode="copy"><xsl:value-of select="$to"/></xsl:template>
</xsl:stylesheet>
