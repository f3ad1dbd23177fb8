<?xml version="1.0" encoding="UTF-8"?>
<!-- Blocks of the cache pool and the storage-wide settings (a report
     includes report.xsl with this file). -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">

  <xsl:template match="QXStorageObject[ObjType = 'cachepool']">
    <xsl:apply-templates select="Name" mode="line"/>
    <xsl:apply-templates select="ObjState" mode="line"/>
    <xsl:apply-templates select="TarnCacheState" mode="line"/>
    <xsl:apply-templates select="Length" mode="size-line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'globalinfo']">
    <xsl:apply-templates select="SmartThermalShutdown" mode="line"/>
    <xsl:apply-templates select="HotSpareProtectionPolicy" mode="line"/>
    <xsl:apply-templates select="RRWEThresholdSasSata" mode="line"/>
    <xsl:apply-templates select="RRWEThresholdPCIe" mode="line"/>
    <xsl:apply-templates select="NonZornCertifiedMode" mode="line"/>
  </xsl:template>
</xsl:stylesheet>
