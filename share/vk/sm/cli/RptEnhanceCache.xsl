<?xml version="1.0" encoding="UTF-8"?>
<!-- Cachecades: the virtual disks that cache other virtual disks on solid-state disks. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:include href="report.xsl"/>
  <xsl:include href="vdisks.xsl"/>

  <xsl:template match="/">
    <xsl:call-template name="report">
      <xsl:with-param name="none" select="'No cachecades found.'"/>
      <xsl:with-param name="objects" select="$objects[ObjType = 'vdisk' and IsSSC = 1]"/>
    </xsl:call-template>
  </xsl:template>

  <xsl:template match="/" mode="title">
    <xsl:text>CacheCades</xsl:text>
    <xsl:call-template name="on-controller">
      <xsl:with-param name="objects" select="$objects[ObjType = 'vdisk' and IsSSC = 1]"/>
    </xsl:call-template>
  </xsl:template>
</xsl:stylesheet>
