<?xml version="1.0" encoding="UTF-8"?>
<!-- Blocks of the cache pool and the storage-wide settings (a report
     includes report.xsl with this file). -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">

  <xsl:template match="QXStorageObject[ObjType = 'cachepool']">
    <xsl:apply-templates select="Name[1]" mode="line"/>
    <xsl:apply-templates select="ObjState[1]" mode="line"/>
    <xsl:apply-templates select="TarnCacheState[1]" mode="line"/>
    <xsl:apply-templates select="Length[1]" mode="size-line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'globalinfo']">
    <xsl:apply-templates select="SmartThermalShutdown[1]" mode="line"/>
    <xsl:apply-templates select="HotSpareProtectionPolicy[1]" mode="line"/>
    <xsl:apply-templates select="RRWEThresholdSasSata[1]" mode="line"/>
    <xsl:apply-templates select="RRWEThresholdPCIe[1]" mode="line"/>
    <xsl:apply-templates select="NonZornCertifiedMode[1]" mode="line"/>
  </xsl:template>
</xsl:stylesheet>
