<?xml version="1.0" encoding="UTF-8"?>
<!-- Decoding of the data agent's codes into words, shared by every report
     stylesheet. Each named template takes the raw value as "v" (by default
     the text of the context node) and writes the word; a code it does not
     know is written as "Unknown (code)" so that nothing is hidden. The codes
     are those of the data agent kvda. -->
<xsl:stylesheet version="1.0"
    xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
    xmlns:str="http://exslt.org/strings"
    exclude-result-prefixes="str">

  <!-- Width of the label column of "Label : value" lines. -->
  <xsl:variable name="label-width" select="24"/>

  <xsl:template name="unknown">
    <xsl:param name="v" select="string(.)"/>
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
    <xsl:param name="v" select="string(.)"/>
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
    <xsl:param name="v" select="string(.)"/>
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
    <xsl:param name="v" select="string(.)"/>
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
    <xsl:param name="v" select="string(.)"/>
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
    <xsl:param name="v" select="string(.)"/>
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
    <xsl:param name="v" select="string(.)"/>
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
    <xsl:param name="v" select="string(.)"/>
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
    <xsl:param name="v" select="string(.)"/>
    <xsl:choose>
      <xsl:when test="$v = 1">Direct I/O</xsl:when>
      <xsl:when test="$v = 2">Cached I/O</xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="unknown"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="disk-cache-policy">
    <xsl:param name="v" select="string(.)"/>
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
    <xsl:param name="v" select="string(.)"/>
    <xsl:choose>
      <xsl:when test="$v = 1">RAID</xsl:when>
      <xsl:when test="$v = 2">HBA</xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="unknown"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="patrol-read-mode">
    <xsl:param name="v" select="string(.)"/>
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
    <xsl:param name="v" select="string(.)"/>
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
    <xsl:param name="v" select="string(.)"/>
    <xsl:choose>
      <xsl:when test="$v = 1">Auto</xsl:when>
      <xsl:when test="$v = 2">Warn</xsl:when>
      <xsl:otherwise>
        <xsl:call-template name="unknown"><xsl:with-param name="v" select="$v"/></xsl:call-template>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="enclosure-type">
    <xsl:param name="v" select="string(.)"/>
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
    <xsl:param name="v" select="string(.)"/>
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
    <xsl:param name="v" select="string(.)"/>
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
    <xsl:param name="v" select="string(.)"/>
    <xsl:choose>
      <xsl:when test="$v = 1">Yes</xsl:when>
      <xsl:otherwise>No</xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="enabled">
    <xsl:param name="v" select="string(.)"/>
    <xsl:choose>
      <xsl:when test="$v = 1">Enabled</xsl:when>
      <xsl:otherwise>Disabled</xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <!-- A size in bytes: GB below one terabyte, TB from there, two decimals
       (binary units, as the agent counts capacity). -->
  <xsl:template name="size">
    <xsl:param name="v" select="string(.)"/>
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
    <xsl:param name="v" select="string(.)"/>
    <xsl:value-of select="concat($v, '%')"/>
  </xsl:template>

  <!-- A property as an aligned line. Each tag the reports know has its own
       line, with its label written out to the width of the label column
       (the fastest way libxslt has to write it) and its value decoded;
       any other tag is labelled by its name and shown as it stands. A
       tag's label and decoded value (modes "label" and "value") are the
       two halves of its line, so the line is their one source. -->
  <xsl:template match="*" mode="line">
    <xsl:param name="label" select="name()"/>
    <xsl:call-template name="line">
      <xsl:with-param name="label" select="$label"/>
      <xsl:with-param name="value" select="string(.)"/>
    </xsl:call-template>
  </xsl:template>

  <xsl:template match="*" mode="label">
    <xsl:variable name="line"><xsl:apply-templates select="." mode="line"/></xsl:variable>
    <xsl:value-of select="normalize-space(substring-before($line, ' : '))"/>
  </xsl:template>

  <xsl:template match="*" mode="value">
    <xsl:variable name="line"><xsl:apply-templates select="." mode="line"/></xsl:variable>
    <xsl:variable name="value" select="substring-after($line, ' : ')"/>
    <xsl:value-of select="substring($value, 1, string-length($value) - 1)"/>
  </xsl:template>

  <xsl:template match="Name" mode="line"><xsl:value-of select="concat('Name                     : ', ., '&#10;')"/></xsl:template>
  <xsl:template match="ObjState" mode="line">Status                   : <xsl:call-template name="state"><xsl:with-param name="kind" select="string(../ObjType)"/></xsl:call-template><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="GlobalNo" mode="line"><xsl:value-of select="concat('Controller               : ', ., '&#10;')"/></xsl:template>
  <xsl:template match="LogicalDriveNum" mode="line"><xsl:value-of select="concat('Virtual Disk             : ', ., '&#10;')"/></xsl:template>
  <xsl:template match="BusProtocol" mode="line">Bus Protocol             : <xsl:call-template name="bus"><xsl:with-param name="nvme" select="string(../IsDeviceNVME)"/></xsl:call-template><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="MediaType" mode="line">Media                    : <xsl:call-template name="media"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="Length" mode="line">Capacity                 : <xsl:call-template name="size"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="Vendor" mode="line"><xsl:value-of select="concat('Vendor                   : ', ., '&#10;')"/></xsl:template>
  <xsl:template match="ProductID" mode="line"><xsl:value-of select="concat('Product ID               : ', ., '&#10;')"/></xsl:template>
  <xsl:template match="SerialNo" mode="line"><xsl:value-of select="concat('Serial Number            : ', ., '&#10;')"/></xsl:template>
  <xsl:template match="FirmwareVer" mode="line"><xsl:value-of select="concat('Firmware Version         : ', ., '&#10;')"/></xsl:template>
  <xsl:template match="DriverVersion" mode="line"><xsl:value-of select="concat('Driver Version           : ', ., '&#10;')"/></xsl:template>
  <xsl:template match="ControllerMode" mode="line">Mode                     : <xsl:call-template name="controller-mode"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="CacheSize" mode="line"><xsl:value-of select="concat('Cache Memory Size        : ', ., ' MB&#10;')"/></xsl:template>
  <xsl:template match="MaxVDAllowed" mode="line"><xsl:value-of select="concat('Maximum Virtual Disks    : ', ., '&#10;')"/></xsl:template>
  <xsl:template match="RAIDLevelsMask" mode="line">
    <xsl:text>RAID Levels              : </xsl:text>
    <xsl:call-template name="mask-words"><xsl:with-param name="mask" select="string(.)"/><xsl:with-param name="what" select="'layout'"/></xsl:call-template>
    <xsl:text>&#10;</xsl:text>
  </xsl:template>
  <xsl:template match="StripeSizesMask" mode="line">
    <xsl:text>Stripe Sizes             : </xsl:text>
    <xsl:call-template name="mask-words"><xsl:with-param name="mask" select="string(.)"/><xsl:with-param name="what" select="'stripe'"/></xsl:call-template>
    <xsl:text>&#10;</xsl:text>
  </xsl:template>
  <xsl:template match="ReadPolicyMask" mode="line">
    <xsl:text>Read Policies            : </xsl:text>
    <xsl:call-template name="mask-words"><xsl:with-param name="mask" select="string(.)"/><xsl:with-param name="what" select="'read-policy'"/></xsl:call-template>
    <xsl:text>&#10;</xsl:text>
  </xsl:template>
  <xsl:template match="WritePolicyMask" mode="line">
    <xsl:text>Write Policies           : </xsl:text>
    <xsl:call-template name="mask-words"><xsl:with-param name="mask" select="string(.)"/><xsl:with-param name="what" select="'write-policy'"/></xsl:call-template>
    <xsl:text>&#10;</xsl:text>
  </xsl:template>
  <xsl:template match="CachePolicyMask" mode="line">
    <xsl:text>Cache Policies           : </xsl:text>
    <xsl:call-template name="mask-words"><xsl:with-param name="mask" select="string(.)"/><xsl:with-param name="what" select="'cache-policy'"/></xsl:call-template>
    <xsl:text>&#10;</xsl:text>
  </xsl:template>
  <xsl:template match="DiskCachePolicyMask" mode="line">
    <xsl:text>Disk Cache Policies      : </xsl:text>
    <xsl:call-template name="mask-words"><xsl:with-param name="mask" select="string(.)"/><xsl:with-param name="what" select="'disk-cache-policy'"/></xsl:call-template>
    <xsl:text>&#10;</xsl:text>
  </xsl:template>
  <xsl:template match="RebuildRate" mode="line"><xsl:value-of select="concat('Rebuild Rate             : ', ., '%&#10;')"/></xsl:template>
  <xsl:template match="BGIRate" mode="line"><xsl:value-of select="concat('Background Init Rate     : ', ., '%&#10;')"/></xsl:template>
  <xsl:template match="CheckConsistencyRate" mode="line"><xsl:value-of select="concat('Check Consistency Rate   : ', ., '%&#10;')"/></xsl:template>
  <xsl:template match="ReconstructRate" mode="line"><xsl:value-of select="concat('Reconstruct Rate         : ', ., '%&#10;')"/></xsl:template>
  <xsl:template match="PatrolReadRate" mode="line"><xsl:value-of select="concat('Patrol Read Rate         : ', ., '%&#10;')"/></xsl:template>
  <xsl:template match="PatrolReadMode" mode="line">Patrol Read Mode         : <xsl:call-template name="patrol-read-mode"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="PatrolReadState" mode="line">
    <xsl:text>Patrol Read State        : </xsl:text>
    <xsl:choose>
      <xsl:when test=". = 1">Running&#10;</xsl:when>
      <xsl:otherwise>Stopped&#10;</xsl:otherwise>
    </xsl:choose>
  </xsl:template>
  <xsl:template match="SecurityMode" mode="line">Key Management           : <xsl:call-template name="security-mode"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="PreservedCache" mode="line">Preserved Cache          : <xsl:call-template name="yes-no"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="SupportPowerSavings" mode="line">
    <xsl:text>Power Savings            : </xsl:text>
    <xsl:choose>
      <xsl:when test=". = 1">Supported&#10;</xsl:when>
      <xsl:otherwise>Not Supported&#10;</xsl:otherwise>
    </xsl:choose>
  </xsl:template>
  <xsl:template match="SpinDownTime" mode="line"><xsl:value-of select="concat('Spin Down Time           : ', ., ' minutes&#10;')"/></xsl:template>
  <xsl:template match="Layout" mode="line">Layout                   : <xsl:call-template name="layout"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="StripeSize" mode="line">Stripe Size              : <xsl:call-template name="stripe"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="ReadPolicy" mode="line">Read Policy              : <xsl:call-template name="read-policy"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="WritePolicy" mode="line">Write Policy             : <xsl:call-template name="write-policy"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="CachePolicy" mode="line">Cache Policy             : <xsl:call-template name="cache-policy"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="DiskCachePolicy" mode="line">Disk Cache Policy        : <xsl:call-template name="disk-cache-policy"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="diskwritecachepolicy" mode="line">Disk Cache Policy        : <xsl:call-template name="disk-cache-policy"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="DeviceName" mode="line"><xsl:value-of select="concat('Device Name              : ', ., '&#10;')"/></xsl:template>
  <xsl:template match="SpanCount" mode="line"><xsl:value-of select="concat('Spans                    : ', ., '&#10;')"/></xsl:template>
  <xsl:template match="Secured" mode="line">Encrypted                : <xsl:call-template name="yes-no"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="IsSSC" mode="line">CacheCade                : <xsl:call-template name="yes-no"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="TarnCache" mode="line">Tarn Cache               : <xsl:call-template name="cache-state"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="TarnCacheState" mode="line">Tarn Cache               : <xsl:call-template name="cache-state"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="WriteCache" mode="line">Write Cache              : <xsl:call-template name="enabled"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="ISECapable" mode="line">Instant Secure Erase     : <xsl:call-template name="yes-no"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="InCachePool" mode="line">In Cache Pool            : <xsl:call-template name="yes-no"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="Locked" mode="line">Locked                   : <xsl:call-template name="yes-no"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="Progress" mode="line"><xsl:value-of select="concat('Progress                 : ', ., '%&#10;')"/></xsl:template>
  <xsl:template match="Charge" mode="line"><xsl:value-of select="concat('Charge                   : ', ., '%&#10;')"/></xsl:template>
  <xsl:template match="LearnMode" mode="line">Learn Mode               : <xsl:call-template name="learn-mode"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="LearnState" mode="line">
    <xsl:text>Learn Cycle              : </xsl:text>
    <xsl:choose>
      <xsl:when test=". = 1">Running&#10;</xsl:when>
      <xsl:otherwise>Idle&#10;</xsl:otherwise>
    </xsl:choose>
  </xsl:template>
  <xsl:template match="NextLearnTime" mode="line"><xsl:value-of select="concat('Next Learn Cycle In      : ', ., ' hours&#10;')"/></xsl:template>
  <xsl:template match="MaxLearnDelay" mode="line"><xsl:value-of select="concat('Maximum Learn Delay      : ', ., ' hours&#10;')"/></xsl:template>
  <xsl:template match="EnclosureType" mode="line">Type                     : <xsl:call-template name="enclosure-type"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="SlotCount" mode="line"><xsl:value-of select="concat('Slots                    : ', ., '&#10;')"/></xsl:template>
  <xsl:template match="ServiceTag" mode="line"><xsl:value-of select="concat('Service Tag              : ', ., '&#10;')"/></xsl:template>
  <xsl:template match="AssetTag" mode="line"><xsl:value-of select="concat('Asset Tag                : ', ., '&#10;')"/></xsl:template>
  <xsl:template match="AssetName" mode="line"><xsl:value-of select="concat('Asset Name               : ', ., '&#10;')"/></xsl:template>
  <xsl:template match="Speed" mode="line"><xsl:value-of select="concat('Speed                    : ', ., ' RPM&#10;')"/></xsl:template>
  <xsl:template match="Watts" mode="line"><xsl:value-of select="concat('Rated Power              : ', ., ' W&#10;')"/></xsl:template>
  <xsl:template match="Reading" mode="line"><xsl:value-of select="concat('Reading                  : ', ., ' C&#10;')"/></xsl:template>
  <xsl:template match="PartitionPath" mode="line"><xsl:value-of select="concat('Path                     : ', ., '&#10;')"/></xsl:template>
  <xsl:template match="CacheLunName" mode="line"><xsl:value-of select="concat('Name                     : ', ., '&#10;')"/></xsl:template>
  <xsl:template match="CacheLunMode" mode="line">Mode                     : <xsl:call-template name="cache-lun-mode"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="SmartThermalShutdown" mode="line">Thermal Shutdown         : <xsl:call-template name="enabled"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="HotSpareProtectionPolicy" mode="line">Hot Spare Protection     : <xsl:call-template name="enabled"/><xsl:text>&#10;</xsl:text></xsl:template>
  <xsl:template match="RRWEThresholdSasSata" mode="line"><xsl:value-of select="concat('Endurance Alert SAS/SATA : ', ., '%&#10;')"/></xsl:template>
  <xsl:template match="RRWEThresholdPCIe" mode="line"><xsl:value-of select="concat('Endurance Alert PCIe     : ', ., '%&#10;')"/></xsl:template>
  <xsl:template match="NonZornCertifiedMode" mode="line">Non-Certified Disks      : <xsl:call-template name="yes-no"/><xsl:text>&#10;</xsl:text></xsl:template>


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

  <!-- Walks from the least significant bit and stops past the most
       significant one that is set. -->
  <xsl:template name="mask-walk">
    <xsl:param name="mask"/>
    <xsl:param name="what"/>
    <xsl:param name="pos"/>
    <xsl:param name="value"/>
    <xsl:if test="$pos &gt; 0 and contains(substring($mask, 1, $pos), '1')">
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
    <xsl:param name="v" select="string(.)"/>
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
