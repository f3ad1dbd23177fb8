<?xml version="1.0" encoding="UTF-8"?>
<!-- Slot report of an enclosure: one line per slot with the disk it holds. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:include href="report.xsl"/>

  <xsl:template match="/">
    <xsl:call-template name="report">
      <xsl:with-param name="none" select="'No slots found.'"/>
      <xsl:with-param name="spaced" select="false()"/>
    </xsl:call-template>
  </xsl:template>

  <xsl:template match="/" mode="title">
    <xsl:variable name="first" select="$objects[1]"/>
    <xsl:value-of select="concat('Slots of Enclosure ', $first/Channel, ':', $first/EnclosureID, ' on Controller ', $first/GlobalNo)"/>
  </xsl:template>

  <!-- Every slot is one line. -->
  <xsl:template match="QXStorageObject[SlotID]" priority="1">
    <xsl:call-template name="line">
      <xsl:with-param name="label" select="concat('Slot ', SlotID)"/>
      <xsl:with-param name="value">
        <xsl:choose>
          <xsl:when test="Occupied = 1"><xsl:value-of select="DiskName"/></xsl:when>
          <xsl:otherwise>Empty</xsl:otherwise>
        </xsl:choose>
      </xsl:with-param>
    </xsl:call-template>
  </xsl:template>
</xsl:stylesheet>
