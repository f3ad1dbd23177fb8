<?xml version="1.0" encoding="UTF-8"?>
<!-- Enclosures; one enclosure with its fans, power supplies, management modules and temperature probes. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:include href="report.xsl"/>
  <xsl:include href="enclosures.xsl"/>

  <xsl:template match="/">
    <xsl:call-template name="report">
      <xsl:with-param name="none" select="'No enclosures found.'"/>
    </xsl:call-template>
  </xsl:template>

  <!-- A single enclosure comes first in its answer, so a long answer's
       head holds it whole. -->
  <xsl:template match="/" mode="title">
    <xsl:variable name="enclosures" select="$objects[ObjType = 'enclosure']"/>
    <xsl:choose>
      <xsl:when test="count($enclosures) = 1">
        <xsl:for-each select="$enclosures">
          <xsl:value-of select="'Enclosure '"/>
          <xsl:call-template name="enclosure-id"/>
          <xsl:value-of select="concat(' on Controller ', GlobalNo)"/>
        </xsl:for-each>
      </xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="list-title"/>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>
</xsl:stylesheet>
