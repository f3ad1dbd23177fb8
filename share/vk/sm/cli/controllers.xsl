<?xml version="1.0" encoding="UTF-8"?>
<!-- Blocks of controllers, their batteries, connectors and NVMe adapters
     (a report includes report.xsl with this file). -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">

  <xsl:template match="QXStorageObject[ObjType = 'controller']">
    <xsl:call-template name="id-line"><xsl:with-param name="value" select="GlobalNo"/></xsl:call-template>
    <xsl:apply-templates select="Name" mode="line"/>
    <xsl:apply-templates select="ObjState" mode="line"/>
    <xsl:if test="AutoConfigProgressState = 1">Operation                : Automatic Configuration&#10;</xsl:if>
    <xsl:apply-templates select="Progress" mode="line"/>
    <xsl:apply-templates select="ControllerMode" mode="line"/>
    <xsl:apply-templates select="FirmwareVer" mode="line"/>
    <xsl:apply-templates select="DriverVersion" mode="line"/>
    <xsl:apply-templates select="BusProtocol" mode="line"/>
    <xsl:apply-templates select="CacheSize" mode="line"/>
    <xsl:if test="ControllerMode = 1">
      <xsl:apply-templates select="MaxVDAllowed" mode="line"/>
      <xsl:apply-templates select="RAIDLevelsMask" mode="line"/>
      <xsl:apply-templates select="StripeSizesMask" mode="line"/>
      <xsl:apply-templates select="ReadPolicyMask" mode="line"/>
      <xsl:apply-templates select="WritePolicyMask" mode="line"/>
      <xsl:apply-templates select="CachePolicyMask" mode="line"/>
    </xsl:if>
    <xsl:apply-templates select="DiskCachePolicyMask" mode="line"/>
    <xsl:if test="ControllerMode = 1">
      <xsl:apply-templates select="RebuildRate" mode="line"/>
      <xsl:apply-templates select="BGIRate" mode="line"/>
      <xsl:apply-templates select="CheckConsistencyRate" mode="line"/>
      <xsl:apply-templates select="ReconstructRate" mode="line"/>
      <xsl:apply-templates select="PatrolReadRate" mode="line"/>
      <xsl:apply-templates select="PatrolReadMode" mode="line"/>
      <xsl:apply-templates select="PatrolReadState" mode="line"/>
    </xsl:if>
    <!-- Attribute bits 23: security capable, 30: cachecade. -->
    <xsl:variable name="attrs" select="string(AttributesMask)"/>
    <xsl:variable name="secure" select="substring($attrs, string-length($attrs) - 23, 1) = '1'"/>
    <xsl:choose>
      <xsl:when test="$secure">Encryption Capable       : Yes&#10;</xsl:when>
      <xsl:otherwise>Encryption Capable       : No&#10;</xsl:otherwise>
    </xsl:choose>
    <xsl:if test="$secure">
      <xsl:apply-templates select="SecurityMode" mode="line"/>
    </xsl:if>
    <xsl:choose>
      <xsl:when test="substring($attrs, string-length($attrs) - 30, 1) = '1'">CacheCade Capable        : Yes&#10;</xsl:when>
      <xsl:otherwise>CacheCade Capable        : No&#10;</xsl:otherwise>
    </xsl:choose>
    <xsl:call-template name="alarm-line"/>
    <xsl:apply-templates select="PreservedCache" mode="line"/>
    <xsl:apply-templates select="SupportPowerSavings" mode="line"/>
    <xsl:if test="SupportPowerSavings = 1">
      <xsl:apply-templates select="SpinDownTime" mode="line"/>
    </xsl:if>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'battery']">
    <xsl:call-template name="id-line"><xsl:with-param name="value" select="BatteryID"/></xsl:call-template>
    <xsl:apply-templates select="GlobalNo" mode="line"/>
    <xsl:apply-templates select="Name" mode="line"/>
    <xsl:apply-templates select="ObjState" mode="line"/>
    <xsl:apply-templates select="Charge" mode="line"/>
    <xsl:apply-templates select="LearnState" mode="line"/>
    <xsl:apply-templates select="LearnMode" mode="line"/>
    <xsl:apply-templates select="NextLearnTime" mode="line"/>
    <xsl:apply-templates select="MaxLearnDelay" mode="line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'connector']">
    <xsl:call-template name="id-line"><xsl:with-param name="value" select="Channel"/></xsl:call-template>
    <xsl:apply-templates select="GlobalNo" mode="line"/>
    <xsl:apply-templates select="Name" mode="line"/>
    <xsl:apply-templates select="ObjState" mode="line"/>
    <xsl:apply-templates select="BusProtocol" mode="line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'nvmeadapter']">
    <xsl:call-template name="id-line"><xsl:with-param name="value" select="Channel"/></xsl:call-template>
    <xsl:apply-templates select="GlobalNo" mode="line"/>
    <xsl:apply-templates select="Name" mode="line"/>
    <xsl:apply-templates select="ObjState" mode="line"/>
    <xsl:apply-templates select="Length" mode="line"/>
    <xsl:apply-templates select="BusProtocol" mode="line"/>
    <xsl:apply-templates select="Vendor" mode="line"/>
    <xsl:apply-templates select="ProductID" mode="line"/>
    <xsl:apply-templates select="SerialNo" mode="line"/>
    <xsl:apply-templates select="ISECapable" mode="line"/>
  </xsl:template>
</xsl:stylesheet>
