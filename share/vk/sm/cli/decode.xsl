<?xml version="1.0" encoding="UTF-8"?>
<!-- Decoding of the data agent's codes into words, shared by every report
     stylesheet. Each named template takes the raw value as "v" and writes
     the word; a code it does not know is written as "Unknown (code)" so that
     nothing is hidden. The codes are those of the data agent kvda. -->
<xsl:stylesheet version="1.0"
    xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
    xmlns:str="http://exslt.org/strings"
    exclude-result-prefixes="str">

  <!-- Width of the label column of "Label : value" lines. -->
  <xsl:variable name="label-width" select="24"/>

  <xsl:template name="unknown">
    <xsl:param name="v"/>
    <xsl:value-of select="concat('Unknown (', $v, ')')"/>
  </xsl:template>

  <!-- One aligned line. -->
  <xsl:template name="line">
    <xsl:param name="label"/>
    <xsl:param name="value"/>
    <xsl:value-of select="$label"/>
    <xsl:if test="string-length($label) &lt; $label-width">
      <xsl:value-of select="str:padding($label-width - string-length($label), ' ')"/>
    </xsl:if>
    <xsl:value-of select="concat(' : ', $value, '&#10;')"/>
  </xsl:template>

  <!-- A heading underlined with the given character. -->
  <xsl:template name="heading">
    <xsl:param name="text"/>
    <xsl:param name="rule" select="'='"/>
    <xsl:value-of select="concat($text, '&#10;', str:padding(string-length($text), $rule), '&#10;')"/>
  </xsl:template>

  <!-- Object states. A battery's 8 is charging; for every other object
       8 is offline. -->
  <xsl:template name="state">
    <xsl:param name="v"/>
    <xsl:param name="kind"/>
    <xsl:choose>
      <xsl:when test="$v = 1">Ready</xsl:when>
      <xsl:when test="$v = 2">Failed</xsl:when>
      <xsl:when test="$v = 4">Online</xsl:when>
      <xsl:when test="$v = 8 and $kind = 'battery'">Charging</xsl:when>
      <xsl:when test="$v = 8">Offline</xsl:when>
      <xsl:when test="$v = 16">Degraded</xsl:when>
      <xsl:when test="$v = 32">Rebuilding</xsl:when>
      <xsl:when test="$v = 64">Removed</xsl:when>
      <xsl:when test="$v = 128">Non-RAID</xsl:when>
      <xsl:when test="$v = 256">Foreign</xsl:when>
      <xsl:when test="$v = 1024">Learning</xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="unknown"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <!-- Bus protocols; a PCIe device that speaks NVMe is called so. -->
  <xsl:template name="bus">
    <xsl:param name="v"/>
    <xsl:param name="nvme" select="'0'"/>
    <xsl:choose>
      <xsl:when test="$v = 1">SCSI</xsl:when>
      <xsl:when test="$v = 7">SATA</xsl:when>
      <xsl:when test="$v = 8">SAS</xsl:when>
      <xsl:when test="$v = 9 and $nvme = '1'">NVMe</xsl:when>
      <xsl:when test="$v = 9">PCIe</xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="unknown"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="media">
    <xsl:param name="v"/>
    <xsl:choose>
      <xsl:when test="$v = 1">HDD</xsl:when>
      <xsl:when test="$v = 2">SSD</xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="unknown"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <!-- RAID layouts (one bit each). -->
  <xsl:template name="layout">
    <xsl:param name="v"/>
    <xsl:choose>
      <xsl:when test="$v = 1">Concatenated</xsl:when>
      <xsl:when test="$v = 2">RAID-0</xsl:when>
      <xsl:when test="$v = 4">RAID-1</xsl:when>
      <xsl:when test="$v = 64">RAID-5</xsl:when>
      <xsl:when test="$v = 128">RAID-6</xsl:when>
      <xsl:when test="$v = 512">RAID-10</xsl:when>
      <xsl:when test="$v = 2048">RAID-50</xsl:when>
      <xsl:when test="$v = 4096">Concatenated RAID-1</xsl:when>
      <xsl:when test="$v = 262144">RAID-60</xsl:when>
      <xsl:when test="$v = 524288">RAID-1E</xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="unknown"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <!-- Stripe sizes count 512-byte sectors (one bit each). -->
  <xsl:template name="stripe">
    <xsl:param name="v"/>
    <xsl:choose>
      <xsl:when test="$v = 1">512 bytes</xsl:when>
      <xsl:when test="$v = 2 or $v = 4 or $v = 8 or $v = 16 or $v = 32 or $v = 64 or $v = 128 or $v = 256 or $v = 512 or $v = 1024">
        <xsl:value-of select="concat($v div 2, ' KB')"/>
      </xsl:when>
      <xsl:when test="$v = 2048 or $v = 4096 or $v = 8192 or $v = 16384 or $v = 32768">
        <xsl:value-of select="concat($v div 2048, ' MB')"/>
      </xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="unknown"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="read-policy">
    <xsl:param name="v"/>
    <xsl:choose>
      <xsl:when test="$v = 1">Read Cache</xsl:when>
      <xsl:when test="$v = 2">No Read Cache</xsl:when>
      <xsl:when test="$v = 4">Read Ahead</xsl:when>
      <xsl:when test="$v = 8">Adaptive Read Ahead</xsl:when>
      <xsl:when test="$v = 16">No Read Ahead</xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="unknown"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="write-policy">
    <xsl:param name="v"/>
    <xsl:choose>
      <xsl:when test="$v = 1">Write Cache</xsl:when>
      <xsl:when test="$v = 2">No Write Cache</xsl:when>
      <xsl:when test="$v = 4">Write Back</xsl:when>
      <xsl:when test="$v = 8">Write Through</xsl:when>
      <xsl:when test="$v = 16">Write Cache Always</xsl:when>
      <xsl:when test="$v = 32">Force Write Back</xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="unknown"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="cache-policy">
    <xsl:param name="v"/>
    <xsl:choose>
      <xsl:when test="$v = 1">Direct I/O</xsl:when>
      <xsl:when test="$v = 2">Cached I/O</xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="unknown"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="disk-cache-policy">
    <xsl:param name="v"/>
    <xsl:choose>
      <xsl:when test="$v = 1">Unchanged</xsl:when>
      <xsl:when test="$v = 2">Enabled</xsl:when>
      <xsl:when test="$v = 4">Disabled</xsl:when>
      <xsl:when test="$v = 8">Default</xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="unknown"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="controller-mode">
    <xsl:param name="v"/>
    <xsl:choose>
      <xsl:when test="$v = 1">RAID</xsl:when>
      <xsl:when test="$v = 2">HBA</xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="unknown"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="patrol-read-mode">
    <xsl:param name="v"/>
    <xsl:choose>
      <xsl:when test="$v = 1">Auto</xsl:when>
      <xsl:when test="$v = 2">Manual</xsl:when>
      <xsl:when test="$v = 4">Disabled</xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="unknown"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <!-- Key management in force: none, a key kept on the controller, or a
       key from an external key server. -->
  <xsl:template name="security-mode">
    <xsl:param name="v"/>
    <xsl:choose>
      <xsl:when test="$v = 0">No Key</xsl:when>
      <xsl:when test="$v = 1">Local Key Management</xsl:when>
      <xsl:when test="$v = 2">External Key Management</xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="unknown"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="learn-mode">
    <xsl:param name="v"/>
    <xsl:choose>
      <xsl:when test="$v = 1">Auto</xsl:when>
      <xsl:when test="$v = 2">Warn</xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="unknown"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="enclosure-type">
    <xsl:param name="v"/>
    <xsl:choose>
      <xsl:when test="$v = 1">Backplane</xsl:when>
      <xsl:when test="$v = 2">Storage Shelf</xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="unknown"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <!-- Cache feature of a virtual disk or partition. -->
  <xsl:template name="cache-state">
    <xsl:param name="v"/>
    <xsl:choose>
      <xsl:when test="$v = 0">Disabled</xsl:when>
      <xsl:when test="$v = 1">Enabled</xsl:when>
      <xsl:when test="$v = 2">Failed</xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="unknown"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <!-- Cached-LUN modes as the agent stores them (the policy keywords). -->
  <xsl:template name="cache-lun-mode">
    <xsl:param name="v"/>
    <xsl:choose>
      <xsl:when test="$v = 'wb'">Write Back</xsl:when>
      <xsl:when test="$v = 'wt'">Write Through</xsl:when>
      <xsl:when test="$v = 'ro'">Read Only</xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="unknown"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="yes-no">
    <xsl:param name="v"/>
    <xsl:choose>
      <xsl:when test="$v = 1">Yes</xsl:when>
      <xsl:otherwise>No</xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="enabled">
    <xsl:param name="v"/>
    <xsl:choose>
      <xsl:when test="$v = 1">Enabled</xsl:when>
      <xsl:otherwise>Disabled</xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <!-- A size in bytes: GB below one terabyte, TB from there, two decimals
       (binary units, as the agent counts capacity). -->
  <xsl:template name="size">
    <xsl:param name="v"/>
    <xsl:choose>
      <xsl:when test="string(number($v)) = 'NaN'">
        <xsl:call-template name="unknown"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:when>
      <xsl:when test="$v &gt;= 1099511627776">
        <xsl:value-of select="concat(format-number($v div 1099511627776, '0.00'), ' TB')"/>
      </xsl:when>
      <xsl:otherwise>
        <xsl:value-of select="concat(format-number($v div 1073741824, '0.00'), ' GB')"/>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="percent">
    <xsl:param name="v"/>
    <xsl:value-of select="concat($v, '%')"/>
  </xsl:template>

  <!-- A property as an aligned line: its label (mode "label", or the
       label parameter) and its decoded value (mode "value"). -->
  <xsl:template match="*" mode="line">
    <xsl:param name="label">
      <xsl:apply-templates select="." mode="label"/>
    </xsl:param>
    <xsl:call-template name="line">
      <xsl:with-param name="label" select="$label"/>
      <xsl:with-param name="value">
        <xsl:apply-templates select="." mode="value"/>
      </xsl:with-param>
    </xsl:call-template>
  </xsl:template>

  <!-- Labels of the agent's tags; any other tag is labelled by its name. -->
  <xsl:template match="*" mode="label"><xsl:value-of select="name()"/></xsl:template>
  <xsl:template match="Name" mode="label">Name</xsl:template>
  <xsl:template match="ObjState" mode="label">Status</xsl:template>
  <xsl:template match="GlobalNo" mode="label">Controller</xsl:template>
  <xsl:template match="LogicalDriveNum" mode="label">Virtual Disk</xsl:template>
  <xsl:template match="BusProtocol" mode="label">Bus Protocol</xsl:template>
  <xsl:template match="MediaType" mode="label">Media</xsl:template>
  <xsl:template match="Length" mode="label">Capacity</xsl:template>
  <xsl:template match="Vendor" mode="label">Vendor</xsl:template>
  <xsl:template match="ProductID" mode="label">Product ID</xsl:template>
  <xsl:template match="SerialNo" mode="label">Serial Number</xsl:template>
  <xsl:template match="FirmwareVer" mode="label">Firmware Version</xsl:template>
  <xsl:template match="DriverVersion" mode="label">Driver Version</xsl:template>
  <xsl:template match="ControllerMode" mode="label">Mode</xsl:template>
  <xsl:template match="CacheSize" mode="label">Cache Memory Size</xsl:template>
  <xsl:template match="MaxVDAllowed" mode="label">Maximum Virtual Disks</xsl:template>
  <xsl:template match="RAIDLevelsMask" mode="label">RAID Levels</xsl:template>
  <xsl:template match="StripeSizesMask" mode="label">Stripe Sizes</xsl:template>
  <xsl:template match="ReadPolicyMask" mode="label">Read Policies</xsl:template>
  <xsl:template match="WritePolicyMask" mode="label">Write Policies</xsl:template>
  <xsl:template match="CachePolicyMask" mode="label">Cache Policies</xsl:template>
  <xsl:template match="DiskCachePolicyMask" mode="label">Disk Cache Policies</xsl:template>
  <xsl:template match="RebuildRate" mode="label">Rebuild Rate</xsl:template>
  <xsl:template match="BGIRate" mode="label">Background Init Rate</xsl:template>
  <xsl:template match="CheckConsistencyRate" mode="label">Check Consistency Rate</xsl:template>
  <xsl:template match="ReconstructRate" mode="label">Reconstruct Rate</xsl:template>
  <xsl:template match="PatrolReadRate" mode="label">Patrol Read Rate</xsl:template>
  <xsl:template match="PatrolReadMode" mode="label">Patrol Read Mode</xsl:template>
  <xsl:template match="PatrolReadState" mode="label">Patrol Read State</xsl:template>
  <xsl:template match="SecurityMode" mode="label">Key Management</xsl:template>
  <xsl:template match="PreservedCache" mode="label">Preserved Cache</xsl:template>
  <xsl:template match="SupportPowerSavings" mode="label">Power Savings</xsl:template>
  <xsl:template match="SpinDownTime" mode="label">Spin Down Time</xsl:template>
  <xsl:template match="Layout" mode="label">Layout</xsl:template>
  <xsl:template match="StripeSize" mode="label">Stripe Size</xsl:template>
  <xsl:template match="ReadPolicy" mode="label">Read Policy</xsl:template>
  <xsl:template match="WritePolicy" mode="label">Write Policy</xsl:template>
  <xsl:template match="CachePolicy" mode="label">Cache Policy</xsl:template>
  <xsl:template match="DiskCachePolicy" mode="label">Disk Cache Policy</xsl:template>
  <xsl:template match="diskwritecachepolicy" mode="label">Disk Cache Policy</xsl:template>
  <xsl:template match="DeviceName" mode="label">Device Name</xsl:template>
  <xsl:template match="SpanCount" mode="label">Spans</xsl:template>
  <xsl:template match="Secured" mode="label">Encrypted</xsl:template>
  <xsl:template match="IsSSC" mode="label">CacheCade</xsl:template>
  <xsl:template match="TarnCache" mode="label">Tarn Cache</xsl:template>
  <xsl:template match="TarnCacheState" mode="label">Tarn Cache</xsl:template>
  <xsl:template match="WriteCache" mode="label">Write Cache</xsl:template>
  <xsl:template match="ISECapable" mode="label">Instant Secure Erase</xsl:template>
  <xsl:template match="InCachePool" mode="label">In Cache Pool</xsl:template>
  <xsl:template match="Locked" mode="label">Locked</xsl:template>
  <xsl:template match="Progress" mode="label">Progress</xsl:template>
  <xsl:template match="Charge" mode="label">Charge</xsl:template>
  <xsl:template match="LearnMode" mode="label">Learn Mode</xsl:template>
  <xsl:template match="LearnState" mode="label">Learn Cycle</xsl:template>
  <xsl:template match="NextLearnTime" mode="label">Next Learn Cycle In</xsl:template>
  <xsl:template match="MaxLearnDelay" mode="label">Maximum Learn Delay</xsl:template>
  <xsl:template match="EnclosureType" mode="label">Type</xsl:template>
  <xsl:template match="SlotCount" mode="label">Slots</xsl:template>
  <xsl:template match="ServiceTag" mode="label">Service Tag</xsl:template>
  <xsl:template match="AssetTag" mode="label">Asset Tag</xsl:template>
  <xsl:template match="AssetName" mode="label">Asset Name</xsl:template>
  <xsl:template match="Speed" mode="label">Speed</xsl:template>
  <xsl:template match="Watts" mode="label">Rated Power</xsl:template>
  <xsl:template match="Reading" mode="label">Reading</xsl:template>
  <xsl:template match="PartitionPath" mode="label">Path</xsl:template>
  <xsl:template match="CacheLunName" mode="label">Name</xsl:template>
  <xsl:template match="CacheLunMode" mode="label">Mode</xsl:template>
  <xsl:template match="SmartThermalShutdown" mode="label">Thermal Shutdown</xsl:template>
  <xsl:template match="HotSpareProtectionPolicy" mode="label">Hot Spare Protection</xsl:template>
  <xsl:template match="RRWEThresholdSasSata" mode="label">Endurance Alert SAS/SATA</xsl:template>
  <xsl:template match="RRWEThresholdPCIe" mode="label">Endurance Alert PCIe</xsl:template>
  <xsl:template match="NonZornCertifiedMode" mode="label">Non-Certified Disks</xsl:template>

  <!-- Values: decoded where the tag carries a code; as it stands
       otherwise. -->
  <xsl:template match="*" mode="value"><xsl:value-of select="."/></xsl:template>
  <xsl:template match="ObjState" mode="value">
    <xsl:call-template name="state">
      <xsl:with-param name="v" select="."/>
      <xsl:with-param name="kind" select="string(../ObjType)"/>
    </xsl:call-template>
  </xsl:template>
  <xsl:template match="BusProtocol" mode="value">
    <xsl:call-template name="bus">
      <xsl:with-param name="v" select="."/>
      <xsl:with-param name="nvme" select="string(../IsDeviceNVME)"/>
    </xsl:call-template>
  </xsl:template>
  <xsl:template match="MediaType" mode="value">
    <xsl:call-template name="media"><xsl:with-param name="v" select="."/></xsl:call-template>
  </xsl:template>
  <xsl:template match="Length" mode="value">
    <xsl:call-template name="size"><xsl:with-param name="v" select="."/></xsl:call-template>
  </xsl:template>
  <xsl:template match="ControllerMode" mode="value">
    <xsl:call-template name="controller-mode"><xsl:with-param name="v" select="."/></xsl:call-template>
  </xsl:template>
  <xsl:template match="CacheSize" mode="value"><xsl:value-of select="concat(., ' MB')"/></xsl:template>
  <xsl:template match="RAIDLevelsMask" mode="value">
    <xsl:call-template name="mask-words">
      <xsl:with-param name="mask" select="."/>
      <xsl:with-param name="what" select="'layout'"/>
    </xsl:call-template>
  </xsl:template>
  <xsl:template match="StripeSizesMask" mode="value">
    <xsl:call-template name="mask-words">
      <xsl:with-param name="mask" select="."/>
      <xsl:with-param name="what" select="'stripe'"/>
    </xsl:call-template>
  </xsl:template>
  <xsl:template match="ReadPolicyMask" mode="value">
    <xsl:call-template name="mask-words">
      <xsl:with-param name="mask" select="."/>
      <xsl:with-param name="what" select="'read-policy'"/>
    </xsl:call-template>
  </xsl:template>
  <xsl:template match="WritePolicyMask" mode="value">
    <xsl:call-template name="mask-words">
      <xsl:with-param name="mask" select="."/>
      <xsl:with-param name="what" select="'write-policy'"/>
    </xsl:call-template>
  </xsl:template>
  <xsl:template match="CachePolicyMask" mode="value">
    <xsl:call-template name="mask-words">
      <xsl:with-param name="mask" select="."/>
      <xsl:with-param name="what" select="'cache-policy'"/>
    </xsl:call-template>
  </xsl:template>
  <xsl:template match="DiskCachePolicyMask" mode="value">
    <xsl:call-template name="mask-words">
      <xsl:with-param name="mask" select="."/>
      <xsl:with-param name="what" select="'disk-cache-policy'"/>
    </xsl:call-template>
  </xsl:template>
  <xsl:template match="RebuildRate|BGIRate|CheckConsistencyRate|ReconstructRate|PatrolReadRate|Progress|Charge|RRWEThresholdSasSata|RRWEThresholdPCIe" mode="value">
    <xsl:call-template name="percent"><xsl:with-param name="v" select="."/></xsl:call-template>
  </xsl:template>
  <xsl:template match="PatrolReadMode" mode="value">
    <xsl:call-template name="patrol-read-mode"><xsl:with-param name="v" select="."/></xsl:call-template>
  </xsl:template>
  <xsl:template match="PatrolReadState" mode="value">
    <xsl:choose>
      <xsl:when test=". = 1">Running</xsl:when>
      <xsl:otherwise>Stopped</xsl:otherwise>
    </xsl:choose>
  </xsl:template>
  <xsl:template match="SecurityMode" mode="value">
    <xsl:call-template name="security-mode"><xsl:with-param name="v" select="."/></xsl:call-template>
  </xsl:template>
  <xsl:template match="SupportPowerSavings" mode="value">
    <xsl:choose>
      <xsl:when test=". = 1">Supported</xsl:when>
      <xsl:otherwise>Not Supported</xsl:otherwise>
    </xsl:choose>
  </xsl:template>
  <xsl:template match="SpinDownTime" mode="value"><xsl:value-of select="concat(., ' minutes')"/></xsl:template>
  <xsl:template match="Layout" mode="value">
    <xsl:call-template name="layout"><xsl:with-param name="v" select="."/></xsl:call-template>
  </xsl:template>
  <xsl:template match="StripeSize" mode="value">
    <xsl:call-template name="stripe"><xsl:with-param name="v" select="."/></xsl:call-template>
  </xsl:template>
  <xsl:template match="ReadPolicy" mode="value">
    <xsl:call-template name="read-policy"><xsl:with-param name="v" select="."/></xsl:call-template>
  </xsl:template>
  <xsl:template match="WritePolicy" mode="value">
    <xsl:call-template name="write-policy"><xsl:with-param name="v" select="."/></xsl:call-template>
  </xsl:template>
  <xsl:template match="CachePolicy" mode="value">
    <xsl:call-template name="cache-policy"><xsl:with-param name="v" select="."/></xsl:call-template>
  </xsl:template>
  <xsl:template match="DiskCachePolicy|diskwritecachepolicy" mode="value">
    <xsl:call-template name="disk-cache-policy"><xsl:with-param name="v" select="."/></xsl:call-template>
  </xsl:template>
  <xsl:template match="Secured|IsSSC|ISECapable|InCachePool|Locked|NonZornCertifiedMode" mode="value">
    <xsl:call-template name="yes-no"><xsl:with-param name="v" select="."/></xsl:call-template>
  </xsl:template>
  <xsl:template match="WriteCache|SmartThermalShutdown|HotSpareProtectionPolicy" mode="value">
    <xsl:call-template name="enabled"><xsl:with-param name="v" select="."/></xsl:call-template>
  </xsl:template>
  <xsl:template match="PreservedCache" mode="value">
    <xsl:call-template name="yes-no"><xsl:with-param name="v" select="."/></xsl:call-template>
  </xsl:template>
  <xsl:template match="TarnCache|TarnCacheState" mode="value">
    <xsl:call-template name="cache-state"><xsl:with-param name="v" select="."/></xsl:call-template>
  </xsl:template>
  <xsl:template match="LearnMode" mode="value">
    <xsl:call-template name="learn-mode"><xsl:with-param name="v" select="."/></xsl:call-template>
  </xsl:template>
  <xsl:template match="LearnState" mode="value">
    <xsl:choose>
      <xsl:when test=". = 1">Running</xsl:when>
      <xsl:otherwise>Idle</xsl:otherwise>
    </xsl:choose>
  </xsl:template>
  <xsl:template match="NextLearnTime|MaxLearnDelay" mode="value"><xsl:value-of select="concat(., ' hours')"/></xsl:template>
  <xsl:template match="EnclosureType" mode="value">
    <xsl:call-template name="enclosure-type"><xsl:with-param name="v" select="."/></xsl:call-template>
  </xsl:template>
  <xsl:template match="Speed" mode="value"><xsl:value-of select="concat(., ' RPM')"/></xsl:template>
  <xsl:template match="Watts" mode="value"><xsl:value-of select="concat(., ' W')"/></xsl:template>
  <xsl:template match="Reading" mode="value"><xsl:value-of select="concat(., ' C')"/></xsl:template>
  <xsl:template match="CacheLunMode" mode="value">
    <xsl:call-template name="cache-lun-mode"><xsl:with-param name="v" select="."/></xsl:call-template>
  </xsl:template>

  <!-- Bit n (0 = least significant) of a mask string, most significant
       character first: true when set. -->
  <xsl:template name="bit">
    <xsl:param name="mask"/>
    <xsl:param name="n"/>
    <xsl:if test="substring($mask, string-length($mask) - $n, 1) = '1'">1</xsl:if>
  </xsl:template>

  <!-- The words of every bit set in a mask, joined with ", " ("None" when
       no bit is set). what names the decoder: layout, stripe, read-policy,
       write-policy, cache-policy or disk-cache-policy. -->
  <xsl:template name="mask-words">
    <xsl:param name="mask"/>
    <xsl:param name="what"/>
    <xsl:variable name="words">
      <xsl:call-template name="mask-walk">
        <xsl:with-param name="mask" select="$mask"/>
        <xsl:with-param name="what" select="$what"/>
        <xsl:with-param name="pos" select="string-length($mask)"/>
        <xsl:with-param name="value" select="1"/>
      </xsl:call-template>
    </xsl:variable>
    <xsl:choose>
      <xsl:when test="$words = ''">None</xsl:when>
      <xsl:otherwise>
        <xsl:value-of select="substring($words, 3)"/>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="mask-walk">
    <xsl:param name="mask"/>
    <xsl:param name="what"/>
    <xsl:param name="pos"/>
    <xsl:param name="value"/>
    <xsl:if test="$pos &gt; 0">
      <xsl:if test="substring($mask, $pos, 1) = '1'">
        <xsl:text>, </xsl:text>
        <xsl:call-template name="decode">
          <xsl:with-param name="what" select="$what"/>
          <xsl:with-param name="v" select="$value"/>
        </xsl:call-template>
      </xsl:if>
      <xsl:call-template name="mask-walk">
        <xsl:with-param name="mask" select="$mask"/>
        <xsl:with-param name="what" select="$what"/>
        <xsl:with-param name="pos" select="$pos - 1"/>
        <xsl:with-param name="value" select="$value * 2"/>
      </xsl:call-template>
    </xsl:if>
  </xsl:template>

  <xsl:template name="decode">
    <xsl:param name="what"/>
    <xsl:param name="v"/>
    <xsl:choose>
      <xsl:when test="$what = 'layout'">
        <xsl:call-template name="layout"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:when>
      <xsl:when test="$what = 'stripe'">
        <xsl:call-template name="stripe"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:when>
      <xsl:when test="$what = 'read-policy'">
        <xsl:call-template name="read-policy"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:when>
      <xsl:when test="$what = 'write-policy'">
        <xsl:call-template name="write-policy"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:when>
      <xsl:when test="$what = 'cache-policy'">
        <xsl:call-template name="cache-policy"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:when>
      <xsl:when test="$what = 'disk-cache-policy'">
        <xsl:call-template name="disk-cache-policy"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:when>
      <xsl:otherwise>
        <xsl:value-of select="$v"/>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>
</xsl:stylesheet>
