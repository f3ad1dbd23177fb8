<?xml version="1.0" encoding="UTF-8"?>
<!-- Blocks of virtual disks, their partitions and cached LUNs (a report
     includes report.xsl with this file). -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">

  <xsl:template match="QXStorageObject[ObjType = 'vdisk']">
    <xsl:call-template name="id-line"><xsl:with-param name="value" select="LogicalDriveNum"/></xsl:call-template>
    <xsl:apply-templates select="GlobalNo[1]" mode="line"/>
    <xsl:apply-templates select="Name[1]" mode="line"/>
    <xsl:apply-templates select="ObjState[1]" mode="line"/>
    <xsl:choose>
      <xsl:when test="ObjState = 32">Operation                : Rebuild&#10;</xsl:when>
      <xsl:when test="ReconfigState = 1">Operation                : Reconfiguration&#10;</xsl:when>
      <xsl:when test="CCState = 1">Operation                : Check Consistency&#10;</xsl:when>
      <xsl:when test="CCState = 2">Operation                : Check Consistency (paused)&#10;</xsl:when>
      <xsl:when test="InitState = 1">Operation                : Initialization&#10;</xsl:when>
      <xsl:when test="InitState = 2">Operation                : Background Initialization&#10;</xsl:when>
    </xsl:choose>
    <xsl:apply-templates select="Progress[1]" mode="line"/>
    <xsl:apply-templates select="Layout[1]" mode="line"/>
    <xsl:apply-templates select="Length[1]" mode="size-line"/>
    <xsl:apply-templates select="DeviceName[1]" mode="line"/>
    <xsl:if test="SpanCount &gt; 1">
      <xsl:apply-templates select="SpanCount[1]" mode="line"/>
    </xsl:if>
    <xsl:apply-templates select="StripeSize[1]" mode="line"/>
    <xsl:apply-templates select="ReadPolicy[1]" mode="line"/>
    <xsl:apply-templates select="WritePolicy[1]" mode="line"/>
    <xsl:apply-templates select="CachePolicy[1]" mode="line"/>
    <xsl:apply-templates select="DiskCachePolicy[1]" mode="line"/>
    <xsl:apply-templates select="Secured[1]" mode="line"/>
    <xsl:apply-templates select="IsSSC[1]" mode="line"/>
    <xsl:apply-templates select="TarnCache[1]" mode="line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'partition']">
    <xsl:apply-templates select="PartitionPath[1]" mode="line"/>
    <xsl:apply-templates select="GlobalNo[1]" mode="line"/>
    <xsl:apply-templates select="LogicalDriveNum[1]" mode="line"/>
    <xsl:apply-templates select="ObjState[1]" mode="line"/>
    <xsl:apply-templates select="Length[1]" mode="size-line"/>
    <xsl:apply-templates select="TarnCache[1]" mode="line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'cachedlun']">
    <xsl:apply-templates select="CacheLunName[1]" mode="line"/>
    <xsl:apply-templates select="GlobalNo[1]" mode="line"/>
    <xsl:apply-templates select="LogicalDriveNum[1]" mode="line"/>
    <xsl:apply-templates select="ObjState[1]" mode="line"/>
    <xsl:apply-templates select="CacheLunMode[1]" mode="line"/>
  </xsl:template>
</xsl:stylesheet>
