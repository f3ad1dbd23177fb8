<?xml version="1.0" encoding="UTF-8"?>
<!-- Slot report of an enclosure: one line per slot with the disk it holds. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:include href="objects.xsl"/>

  <xsl:template match="/">
    <xsl:variable name="first" select="key('object', 'all')[1]"/>
    <xsl:call-template name="report">
      <xsl:with-param name="title" select="concat('Slots of Enclosure ', $first/Channel, ':', $first/EnclosureID, ' on Controller ', $first/GlobalNo)"/>
      <xsl:with-param name="none" select="'No slots found.'"/>
      <xsl:with-param name="objects" select="$first"/>
    </xsl:call-template>
  </xsl:template>

  <!-- The report frame hands over the first slot; every slot is one line. -->
  <xsl:template match="QXStorageObject[SlotID]" priority="1">
    <xsl:for-each select="key('object', 'all')">
      <xsl:call-template name="line">
        <xsl:with-param name="label" select="concat('Slot ', SlotID)"/>
        <xsl:with-param name="value">
          <xsl:choose>
            <xsl:when test="Occupied = 1"><xsl:value-of select="DiskName"/></xsl:when>
            <xsl:otherwise>Empty</xsl:otherwise>
          </xsl:choose>
        </xsl:with-param>
      </xsl:call-template>
    </xsl:for-each>
  </xsl:template>
</xsl:stylesheet>
