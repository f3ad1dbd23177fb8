<?xml version="1.0" encoding="UTF-8"?>
<!-- The frame every report shares: a title, then one block of aligned
     "Label : value" lines per storage object, with a sub-heading where the
     answer moves on to another kind of object (a controller's batteries,
     connectors, disks...). Objects are reached through keys only, so large
     answers render in one pass. A report stylesheet includes this file and
     calls the "report" template from its root template. -->
<xsl:stylesheet version="1.0"
    xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:include href="decode.xsl"/>
  <xsl:output method="text" encoding="UTF-8"/>

  <!-- Set by the host: the program and the command words of the run. -->
  <xsl:param name="program" select="'vkreport'"/>
  <xsl:param name="command" select="$program"/>

  <xsl:key name="object" match="QXStorageObject" use="'all'"/>
  <xsl:key name="kind" match="QXStorageObject" use="string(ObjType)"/>
  <xsl:key name="status" match="SMStatus" use="'all'"/>
  <xsl:key name="message" match="SMMessage" use="'all'"/>

  <!-- The agent's status, "0" when the answer carries none. -->
  <xsl:variable name="status">
    <xsl:variable name="s" select="normalize-space(key('status', 'all')[1])"/>
    <xsl:choose>
      <xsl:when test="$s = ''">0</xsl:when>
      <xsl:otherwise><xsl:value-of select="$s"/></xsl:otherwise>
    </xsl:choose>
  </xsl:variable>

  <!-- title: the report's heading; none: the line shown when there is
       nothing to report; objects: the objects to show, in answer order. -->
  <xsl:template name="report">
    <xsl:param name="title"/>
    <xsl:param name="none"/>
    <xsl:param name="objects" select="key('object', 'all')"/>
    <xsl:choose>
      <xsl:when test="$status != '0'">
        <xsl:call-template name="failure"/>
      </xsl:when>
      <xsl:when test="not($objects)">
        <xsl:value-of select="concat($none, '&#10;')"/>
      </xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="heading">
          <xsl:with-param name="text" select="$title"/>
        </xsl:call-template>
        <xsl:for-each select="$objects">
          <xsl:variable name="previous" select="preceding-sibling::QXStorageObject[1]"/>
          <xsl:if test="position() != 1 and string($previous/ObjType) != string(ObjType)">
            <xsl:text>&#10;</xsl:text>
            <xsl:call-template name="heading">
              <xsl:with-param name="text">
                <xsl:call-template name="kind-name">
                  <xsl:with-param name="kind" select="string(ObjType)"/>
                </xsl:call-template>
              </xsl:with-param>
              <xsl:with-param name="rule" select="'-'"/>
            </xsl:call-template>
          </xsl:if>
          <xsl:text>&#10;</xsl:text>
          <xsl:apply-templates select="."/>
        </xsl:for-each>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <!-- A refused or failed request: the agent's own sentence. -->
  <xsl:template name="failure">
    <xsl:variable name="message" select="normalize-space(key('message', 'all')[1])"/>
    <xsl:choose>
      <xsl:when test="$message != ''">
        <xsl:value-of select="concat($message, '&#10;')"/>
      </xsl:when>
      <xsl:otherwise>
        <xsl:value-of select="concat('The request failed with status ', $status, '.&#10;')"/>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="kind-name">
    <xsl:param name="kind"/>
    <xsl:choose>
      <xsl:when test="$kind = 'controller'">Controllers</xsl:when>
      <xsl:when test="$kind = 'battery'">Batteries</xsl:when>
      <xsl:when test="$kind = 'connector'">Connectors</xsl:when>
      <xsl:when test="$kind = 'enclosure'">Enclosures</xsl:when>
      <xsl:when test="$kind = 'fan'">Fans</xsl:when>
      <xsl:when test="$kind = 'pwrsupply'">Power Supplies</xsl:when>
      <xsl:when test="$kind = 'emm'">Enclosure Management Modules</xsl:when>
      <xsl:when test="$kind = 'tempprobe'">Temperature Probes</xsl:when>
      <xsl:when test="$kind = 'pdisk'">Physical Disks</xsl:when>
      <xsl:when test="$kind = 'tape'">Tape Drives</xsl:when>
      <xsl:when test="$kind = 'vdisk'">Virtual Disks</xsl:when>
      <xsl:when test="$kind = 'span'">Spans</xsl:when>
      <xsl:when test="$kind = 'partition'">Partitions</xsl:when>
      <xsl:when test="$kind = 'cachedlun'">Cached LUNs</xsl:when>
      <xsl:when test="$kind = 'nvmeadapter'">NVMe Adapters</xsl:when>
      <xsl:when test="$kind = 'cachepool'">Cache Pool</xsl:when>
      <xsl:when test="$kind = 'globalinfo'">Global Information</xsl:when>
      <xsl:when test="$kind = 'storage'">Storage</xsl:when>
      <xsl:when test="$kind = ''">Other Objects</xsl:when>
      <xsl:otherwise><xsl:value-of select="$kind"/></xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <!-- The usual title of a list: the first object's kind, and the
       controller when all objects share one. -->
  <xsl:template name="list-title">
    <xsl:param name="objects" select="key('object', 'all')"/>
    <xsl:call-template name="kind-name">
      <xsl:with-param name="kind" select="string($objects[1]/ObjType)"/>
    </xsl:call-template>
    <xsl:if test="$objects[1]/ObjType = 'span' or $objects[1]/ObjType = 'partition'">
      <xsl:value-of select="concat(' of Virtual Disk ', $objects[1]/LogicalDriveNum)"/>
    </xsl:if>
    <xsl:call-template name="on-controller">
      <xsl:with-param name="objects" select="$objects"/>
    </xsl:call-template>
  </xsl:template>

  <!-- "on Controller N" when every object of the answer belongs to one
       controller; nothing otherwise. -->
  <xsl:template name="on-controller">
    <xsl:param name="objects" select="key('object', 'all')"/>
    <xsl:variable name="first" select="string($objects[1]/GlobalNo)"/>
    <xsl:if test="$first != '' and not($objects[string(GlobalNo) != $first])">
      <xsl:value-of select="concat(' on Controller ', $first)"/>
    </xsl:if>
  </xsl:template>

  <!-- The identifiers users type for disks and enclosures. -->
  <xsl:template name="disk-id">
    <xsl:choose>
      <xsl:when test="EnclosureID">
        <xsl:value-of select="concat(Channel, ':', EnclosureID, ':', TargetID)"/>
      </xsl:when>
      <xsl:otherwise>
        <xsl:value-of select="concat(Channel, ':', TargetID)"/>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <!-- Enclosures on SAS and PCIe connectors carry their own number. -->
  <xsl:template name="enclosure-id">
    <xsl:choose>
      <xsl:when test="EnclosureID and (BusProtocol = 8 or BusProtocol = 9 or not(BusProtocol))">
        <xsl:value-of select="concat(Channel, ':', EnclosureID)"/>
      </xsl:when>
      <xsl:otherwise>
        <xsl:value-of select="Channel"/>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="id-line">
    <xsl:param name="value"/>
    <xsl:call-template name="line">
      <xsl:with-param name="label" select="'ID'"/>
      <xsl:with-param name="value" select="$value"/>
    </xsl:call-template>
  </xsl:template>

  <!-- ===== one block per kind of object ===== -->

  <xsl:template match="QXStorageObject[ObjType = 'controller']">
    <xsl:call-template name="id-line"><xsl:with-param name="value" select="GlobalNo"/></xsl:call-template>
    <xsl:apply-templates select="Name" mode="line"/>
    <xsl:apply-templates select="ObjState" mode="line"/>
    <xsl:if test="AutoConfigProgressState = 1">
      <xsl:call-template name="line">
        <xsl:with-param name="label" select="'Operation'"/>
        <xsl:with-param name="value" select="'Automatic Configuration'"/>
      </xsl:call-template>
    </xsl:if>
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
    <xsl:variable name="attrs" select="string(AttributesMask)"/>
    <xsl:call-template name="line">
      <xsl:with-param name="label" select="'Encryption Capable'"/>
      <xsl:with-param name="value">
        <xsl:call-template name="yes-no">
          <xsl:with-param name="v"><xsl:call-template name="bit"><xsl:with-param name="mask" select="$attrs"/><xsl:with-param name="n" select="23"/></xsl:call-template></xsl:with-param>
        </xsl:call-template>
      </xsl:with-param>
    </xsl:call-template>
    <xsl:if test="substring($attrs, string-length($attrs) - 23, 1) = '1'">
      <xsl:apply-templates select="SecurityMode" mode="line"/>
    </xsl:if>
    <xsl:call-template name="line">
      <xsl:with-param name="label" select="'CacheCade Capable'"/>
      <xsl:with-param name="value">
        <xsl:call-template name="yes-no">
          <xsl:with-param name="v"><xsl:call-template name="bit"><xsl:with-param name="mask" select="$attrs"/><xsl:with-param name="n" select="30"/></xsl:call-template></xsl:with-param>
        </xsl:call-template>
      </xsl:with-param>
    </xsl:call-template>
    <xsl:call-template name="alarm-line"/>
    <xsl:apply-templates select="PreservedCache" mode="line"/>
    <xsl:apply-templates select="SupportPowerSavings" mode="line"/>
    <xsl:if test="SupportPowerSavings = 1">
      <xsl:apply-templates select="SpinDownTime" mode="line"/>
    </xsl:if>
  </xsl:template>

  <xsl:template name="alarm-line">
    <xsl:call-template name="line">
      <xsl:with-param name="label" select="'Alarm'"/>
      <xsl:with-param name="value">
        <xsl:choose>
          <xsl:when test="AlarmPresent != 1">Not Present</xsl:when>
          <xsl:when test="AlarmState = 1">Enabled</xsl:when>
          <xsl:otherwise>Disabled</xsl:otherwise>
        </xsl:choose>
      </xsl:with-param>
    </xsl:call-template>
  </xsl:template>

  <!-- What a disk or virtual disk is busy with, when anything. -->
  <xsl:template name="operation-line">
    <xsl:param name="value"/>
    <xsl:if test="$value != ''">
      <xsl:call-template name="line">
        <xsl:with-param name="label" select="'Operation'"/>
        <xsl:with-param name="value" select="$value"/>
      </xsl:call-template>
    </xsl:if>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'pdisk']">
    <xsl:call-template name="id-line">
      <xsl:with-param name="value"><xsl:call-template name="disk-id"/></xsl:with-param>
    </xsl:call-template>
    <xsl:apply-templates select="GlobalNo" mode="line"/>
    <xsl:apply-templates select="Name" mode="line"/>
    <xsl:apply-templates select="ObjState" mode="line"/>
    <xsl:call-template name="operation-line">
      <xsl:with-param name="value">
        <xsl:choose>
          <xsl:when test="ObjState = 32">Rebuild</xsl:when>
          <xsl:when test="Clearing = 1">Clear</xsl:when>
          <xsl:when test="ReplacingMember = 1">Replace Member</xsl:when>
        </xsl:choose>
      </xsl:with-param>
    </xsl:call-template>
    <xsl:apply-templates select="Progress" mode="line"/>
    <xsl:variable name="attrs" select="string(AttributesMask)"/>
    <xsl:call-template name="line">
      <xsl:with-param name="label" select="'Hot Spare'"/>
      <xsl:with-param name="value">
        <xsl:choose>
          <xsl:when test="substring($attrs, string-length($attrs), 1) = '1'">Global</xsl:when>
          <xsl:when test="substring($attrs, string-length($attrs) - 8, 1) = '1'">Dedicated</xsl:when>
          <xsl:otherwise>No</xsl:otherwise>
        </xsl:choose>
      </xsl:with-param>
    </xsl:call-template>
    <xsl:apply-templates select="Length" mode="line"/>
    <xsl:apply-templates select="BusProtocol" mode="line"/>
    <xsl:apply-templates select="MediaType" mode="line"/>
    <xsl:apply-templates select="Vendor" mode="line"/>
    <xsl:apply-templates select="ProductID" mode="line"/>
    <xsl:apply-templates select="SerialNo" mode="line"/>
    <xsl:apply-templates select="FirmwareVer" mode="line"/>
    <xsl:apply-templates select="WriteCache" mode="line"/>
    <xsl:apply-templates select="diskwritecachepolicy" mode="line"/>
    <xsl:apply-templates select="ISECapable" mode="line"/>
    <xsl:if test="BusProtocol = 9">
      <xsl:apply-templates select="InCachePool" mode="line"/>
    </xsl:if>
    <xsl:apply-templates select="Locked" mode="line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'tape']">
    <xsl:call-template name="id-line">
      <xsl:with-param name="value" select="concat(Channel, ':', TargetID)"/>
    </xsl:call-template>
    <xsl:apply-templates select="GlobalNo" mode="line"/>
    <xsl:apply-templates select="Name" mode="line"/>
    <xsl:apply-templates select="ObjState" mode="line"/>
    <xsl:apply-templates select="Vendor" mode="line"/>
    <xsl:apply-templates select="ProductID" mode="line"/>
    <xsl:apply-templates select="BusProtocol" mode="line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'vdisk']">
    <xsl:call-template name="id-line"><xsl:with-param name="value" select="LogicalDriveNum"/></xsl:call-template>
    <xsl:apply-templates select="GlobalNo" mode="line"/>
    <xsl:apply-templates select="Name" mode="line"/>
    <xsl:apply-templates select="ObjState" mode="line"/>
    <xsl:call-template name="operation-line">
      <xsl:with-param name="value">
        <xsl:choose>
          <xsl:when test="ObjState = 32">Rebuild</xsl:when>
          <xsl:when test="ReconfigState = 1">Reconfiguration</xsl:when>
          <xsl:when test="CCState = 1">Check Consistency</xsl:when>
          <xsl:when test="CCState = 2">Check Consistency (paused)</xsl:when>
          <xsl:when test="InitState = 1">Initialization</xsl:when>
          <xsl:when test="InitState = 2">Background Initialization</xsl:when>
        </xsl:choose>
      </xsl:with-param>
    </xsl:call-template>
    <xsl:apply-templates select="Progress" mode="line"/>
    <xsl:apply-templates select="Layout" mode="line"/>
    <xsl:apply-templates select="Length" mode="line">
      <xsl:with-param name="label" select="'Size'"/>
    </xsl:apply-templates>
    <xsl:apply-templates select="DeviceName" mode="line"/>
    <xsl:if test="SpanCount &gt; 1">
      <xsl:apply-templates select="SpanCount" mode="line"/>
    </xsl:if>
    <xsl:apply-templates select="StripeSize" mode="line"/>
    <xsl:apply-templates select="ReadPolicy" mode="line"/>
    <xsl:apply-templates select="WritePolicy" mode="line"/>
    <xsl:apply-templates select="CachePolicy" mode="line"/>
    <xsl:apply-templates select="DiskCachePolicy" mode="line"/>
    <xsl:apply-templates select="Secured" mode="line"/>
    <xsl:apply-templates select="IsSSC" mode="line"/>
    <xsl:apply-templates select="TarnCache" mode="line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'span']">
    <xsl:call-template name="id-line"><xsl:with-param name="value" select="SpanID"/></xsl:call-template>
    <xsl:apply-templates select="GlobalNo" mode="line"/>
    <xsl:apply-templates select="LogicalDriveNum" mode="line"/>
    <xsl:apply-templates select="ObjState" mode="line"/>
    <xsl:apply-templates select="Layout" mode="line"/>
    <xsl:apply-templates select="Length" mode="line">
      <xsl:with-param name="label" select="'Size'"/>
    </xsl:apply-templates>
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

  <xsl:template match="QXStorageObject[ObjType = 'enclosure']">
    <xsl:call-template name="id-line">
      <xsl:with-param name="value"><xsl:call-template name="enclosure-id"/></xsl:with-param>
    </xsl:call-template>
    <xsl:apply-templates select="GlobalNo" mode="line"/>
    <xsl:apply-templates select="Name" mode="line"/>
    <xsl:apply-templates select="ObjState" mode="line"/>
    <xsl:apply-templates select="EnclosureType" mode="line"/>
    <xsl:apply-templates select="ProductID" mode="line"/>
    <xsl:apply-templates select="FirmwareVer" mode="line"/>
    <xsl:apply-templates select="SlotCount" mode="line"/>
    <xsl:apply-templates select="BusProtocol" mode="line"/>
    <xsl:apply-templates select="ServiceTag[. != '']" mode="line"/>
    <xsl:apply-templates select="AssetTag[. != '']" mode="line"/>
    <xsl:apply-templates select="AssetName[. != '']" mode="line"/>
    <xsl:call-template name="alarm-line"/>
  </xsl:template>

  <!-- Enclosure components: fans, power supplies, management modules and
       temperature probes, numbered within their enclosure. -->
  <xsl:template name="component-head">
    <xsl:call-template name="id-line"><xsl:with-param name="value" select="Index"/></xsl:call-template>
    <xsl:call-template name="line">
      <xsl:with-param name="label" select="'Enclosure'"/>
      <xsl:with-param name="value" select="concat(Channel, ':', EnclosureID)"/>
    </xsl:call-template>
    <xsl:apply-templates select="GlobalNo" mode="line"/>
    <xsl:apply-templates select="Name" mode="line"/>
    <xsl:apply-templates select="ObjState" mode="line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'fan']">
    <xsl:call-template name="component-head"/>
    <xsl:apply-templates select="Speed" mode="line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'pwrsupply']">
    <xsl:call-template name="component-head"/>
    <xsl:apply-templates select="Watts" mode="line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'emm']">
    <xsl:call-template name="component-head"/>
    <xsl:apply-templates select="FirmwareVer" mode="line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'tempprobe']">
    <xsl:call-template name="component-head"/>
    <xsl:apply-templates select="Reading" mode="line"/>
    <xsl:call-template name="line">
      <xsl:with-param name="label" select="'Warning Thresholds'"/>
      <xsl:with-param name="value" select="concat(MinWarning, ' C to ', MaxWarning, ' C')"/>
    </xsl:call-template>
    <xsl:call-template name="line">
      <xsl:with-param name="label" select="'Failure Thresholds'"/>
      <xsl:with-param name="value" select="concat(MinFailure, ' C to ', MaxFailure, ' C')"/>
    </xsl:call-template>
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

  <xsl:template match="QXStorageObject[ObjType = 'partition']">
    <xsl:apply-templates select="PartitionPath" mode="line"/>
    <xsl:apply-templates select="GlobalNo" mode="line"/>
    <xsl:apply-templates select="LogicalDriveNum" mode="line"/>
    <xsl:apply-templates select="ObjState" mode="line"/>
    <xsl:apply-templates select="Length" mode="line">
      <xsl:with-param name="label" select="'Size'"/>
    </xsl:apply-templates>
    <xsl:apply-templates select="TarnCache" mode="line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'cachedlun']">
    <xsl:apply-templates select="CacheLunName" mode="line"/>
    <xsl:apply-templates select="GlobalNo" mode="line"/>
    <xsl:apply-templates select="LogicalDriveNum" mode="line"/>
    <xsl:apply-templates select="ObjState" mode="line"/>
    <xsl:apply-templates select="CacheLunMode" mode="line"/>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'cachepool']">
    <xsl:apply-templates select="Name" mode="line"/>
    <xsl:apply-templates select="ObjState" mode="line"/>
    <xsl:apply-templates select="TarnCacheState" mode="line"/>
    <xsl:apply-templates select="Length" mode="line">
      <xsl:with-param name="label" select="'Size'"/>
    </xsl:apply-templates>
  </xsl:template>

  <xsl:template match="QXStorageObject[ObjType = 'globalinfo']">
    <xsl:apply-templates select="SmartThermalShutdown" mode="line"/>
    <xsl:apply-templates select="HotSpareProtectionPolicy" mode="line"/>
    <xsl:apply-templates select="RRWEThresholdSasSata" mode="line"/>
    <xsl:apply-templates select="RRWEThresholdPCIe" mode="line"/>
    <xsl:apply-templates select="NonZornCertifiedMode" mode="line"/>
  </xsl:template>

  <!-- Any other object: every property but the masks and bookkeeping, as
       it stands. -->
  <xsl:template match="QXStorageObject">
    <xsl:for-each select="*[not(contains(name(), 'Mask')) and name() != 'ObjID' and name() != 'ObjType']">
      <xsl:call-template name="line">
        <xsl:with-param name="label" select="name()"/>
        <xsl:with-param name="value" select="."/>
      </xsl:call-template>
    </xsl:for-each>
  </xsl:template>
</xsl:stylesheet>
