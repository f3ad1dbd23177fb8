<?xml version="1.0" encoding="UTF-8"?>
<!-- Controllers: the list, one controller with everything attached to it, the full dump, and the PCIe subsystem with its devices. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:include href="objects.xsl"/>

  <xsl:template match="/">
    <xsl:call-template name="report">
      <xsl:with-param name="none" select="'No controllers found.'"/>
    </xsl:call-template>
  </xsl:template>

  <xsl:template match="/" mode="title">
    <xsl:variable name="first" select="$objects[1]"/>
    <xsl:variable name="controllers" select="$objects[ObjType = 'controller']"/>
    <xsl:choose>
      <xsl:when test="contains($command, ' pciessd') and $first/ObjType = 'controller'">
        <xsl:value-of select="'PCIe Subsystems'"/>
      </xsl:when>
      <xsl:when test="contains($command, ' pciessd')">
        <xsl:value-of select="'PCIe Solid-State Devices'"/>
        <xsl:call-template name="on-controller"/>
      </xsl:when>
      <xsl:when test="count($controllers) = 1 and $first/ObjType = 'controller'">
        <xsl:value-of select="concat('Controller ', $first/GlobalNo, ': ', $first/Name)"/>
      </xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="list-title"/>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>
</xsl:stylesheet>
