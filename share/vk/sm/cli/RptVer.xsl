<?xml version="1.0" encoding="UTF-8"?>
<!-- Versions of the storage controllers: firmware and driver. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:include href="report.xsl"/>

  <xsl:template match="/">
    <xsl:call-template name="report">
      <xsl:with-param name="none" select="'No storage controllers found.'"/>
    </xsl:call-template>
  </xsl:template>

  <xsl:template match="/" mode="title">Storage Controller Versions</xsl:template>

  <!-- Only what identifies the software of each controller. -->
  <xsl:template match="QXStorageObject[ObjType = 'controller']" priority="1">
    <xsl:call-template name="id-line"><xsl:with-param name="value" select="GlobalNo"/></xsl:call-template>
    <xsl:apply-templates select="Name" mode="line"/>
    <xsl:apply-templates select="FirmwareVer" mode="line"/>
    <xsl:apply-templates select="DriverVersion" mode="line"/>
  </xsl:template>
</xsl:stylesheet>
